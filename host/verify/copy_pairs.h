#pragma once

#include "host/files/quiet_reading.h"
#include "host/result/manifest.h"

#include <functional>
#include <vector>

/// One user whose Mail directory is to be compared with its copy.
struct copied_user
{
    QByteArray name;           ///< the directory below "Users/"
    QByteArray copy_directory; ///< of the Mail directory's copy, relative to the result; empty when there is none
};

/// What is left to be done for a file before its manifest entry is complete.
enum class pair_task
{
    nothing,
    hash_source,
    compare
};

/// One file below a Mail directory, with its copy where one is due.
struct copy_pair
{
    manifest_entry entry; ///< complete but for digests; its status holds if nothing is found that speaks against it
    pair_task task = pair_task::nothing;
    link_handling links = link_handling::keep; ///< how the source file is to be opened
    bool time_refused = false;                 ///< set when an equal copy did not take the source's modification time

    /// For the pipeline: the file's bytes, and how often they are read.
    qint64 size() const { return entry.size; }
    int readings() const { return task == pair_task::compare ? 2 : 1; }
};

/// What a walk over source and copies reports, on the walking thread; false stops the walk.
struct pair_visitor
{
    std::function<bool(copy_pair&& pair)> pair;
    std::function<bool(const QByteArray& copy)> surplus; ///< a copy, relative to the result, that has no source
    std::function<void(const QByteArray& path, const directory_listing& listing)> listed = {}; ///< in the source
};

/// Walks the users' Mail directories side by side with their copies, and the witnesses side by side with the evidence
/// kept: everything in a Mail directory that is not a directory is reported once, in the bytewise order of the paths as
/// the manifest writes them. A link to a directory is reported, and followed where the copy followed it, but never
/// round a circle. A directory that cannot be listed is reported with a final "/". Nothing is opened but directories.
/// False when the visitor stopped the walk.
bool walk_copy_pairs(const QByteArray& source, const QByteArray& result, std::vector<copied_user> users,
                     const pair_visitor& visitor);
