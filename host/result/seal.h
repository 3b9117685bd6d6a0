#pragma once

#include "host/files/file_amount.h"
#include "host/result/result_paths.h"
#include "host/result/sums.h"

#include <functional>
#include <optional>
#include <vector>

// The seal is a list of SHA-256 sums over everything that a finished run leaves but the copies, whose sums stand in the
// manifest. It is written once. Its own SHA-256, the root hash, stands for the whole result.

/// What the seal lists, and its root hash.
struct result_seal
{
    std::vector<sum> files; ///< relative to the result, sorted
    sha256_digest root{};
};

/// Seals a result: hashes every product, the kept evidence and the result database, puts the list in place and returns
/// it. `progress` takes what is hashed so far. Throws a failure when something cannot be read or the list cannot be
/// written.
result_seal seal_result(const result_paths& result, const std::function<void(file_amount done)>& progress = {});

/// Reads the seal of a result; nothing when there is none. Throws a failure when it cannot be read or is no such list.
std::optional<result_seal> read_seal(const result_paths& result);

/// Returns the SHA-256 that a seal lists for a file of the result, as hexadecimal digits; empty when it lists none.
QString sha256_in_seal(const result_seal& seal, const result_paths& result, const QString& path);

/// Returns the paths, relative to the result, of what a seal over the result as it is now would list; sorted. Throws a
/// failure when a folder cannot be listed.
std::vector<QByteArray> sealed_paths(const result_paths& result);
