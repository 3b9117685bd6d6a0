#pragma once

#include "host/cases/source_state.h"
#include "host/result/result_paths.h"

#include <QString>

/// Says what keeps a source's result from being the one that its attempt left: a seal or manifest with another SHA-256
/// than was written down when it became whole, or a manifest other than the seal lists. Empty when it fits.
QString reason_against_result(const source_status& status);

/// Copies a file of a result whole to `target` and holds the copy against the seal. Returns what was wrong, with the
/// path; empty when nothing was. Throws a scratch_failure when the target cannot be written.
QString copy_sealed(const result_paths& result, const QString& path, const QString& target);

/// True for a file that a result's seal lists; throws a failure when there is no seal to read.
bool is_sealed(const result_paths& result, const QString& path);

/// Returns the SHA-256 that a result's seal lists for a file; throws a failure when it lists none.
QString sha256_in_seal(const result_paths& result, const QString& path);
