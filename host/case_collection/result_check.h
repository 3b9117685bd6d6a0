#pragma once

#include "host/cases/source_state.h"
#include "host/result/result_paths.h"
#include "host/result/seal.h"

#include <QString>

/// The result of a source, held against what was written down when it became whole: the seal by its root hash, the
/// record of the run and the manifest by the seal, which is read once.
class checked_result
{
public:
    /// Throws a failure with the path of what is not as it was, or cannot be read.
    explicit checked_result(const source_status& status);

    /// True for a file that the seal lists.
    bool is_sealed(const QString& path) const { return !sha256_in_seal(seal, result, path).isEmpty(); }

    /// Copies a file of the result to `target`, where nothing lies, and holds the copy against the seal. Throws a
    /// failure with the path of what is wrong, a scratch_failure when the target cannot be written.
    void copy_sealed(const QString& path, const QString& target) const;

private:
    /// Throws a failure unless this is what the seal lists for a file.
    void require_sealed(const QString& path, const QString& sha256) const;

    result_paths result;
    result_seal seal;
};
