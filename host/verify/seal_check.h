#pragma once

#include "host/files/file_amount.h"
#include "host/result/result_paths.h"
#include "host/verify/findings.h"

#include <QString>

#include <functional>
#include <optional>

/// What holding a result against its seal gave.
struct seal_outcome
{
    bool is_there = false;
    QString root_hash;            ///< lower-case hexadecimal; empty without a seal
    std::optional<bool> expected; ///< whether the root hash is the one expected; nothing when none was
    qint64 files = 0;             ///< that the seal lists
    qint64 differing = 0;         ///< of them or beside them: other content, missing, unreadable, not listed
    bool cancelled = false;
};

/// Returns what check_seal() is going to read.
file_amount sealed_amount(const result_paths& result);

/// Holds every sealed file against the seal, and the root hash against the expected one, which may be empty. What is
/// not as it should be is a finding. `progress` is told, several times a second, how much is read; `cancelled` ends it.
seal_outcome check_seal(const result_paths& result, const QString& expected_root, const finding_listener& found,
                        const std::function<void(file_amount done)>& progress, const std::function<bool()>& cancelled);
