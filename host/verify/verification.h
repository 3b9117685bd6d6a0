#pragma once

#include "host/files/file_amount.h"
#include "host/result/manifest.h"
#include "host/result/result_paths.h"
#include "host/result/run_record.h"
#include "host/source/directory_notes.h"
#include "host/verify/known_sources.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

struct verification_request
{
    QString source;
    result_paths result;
    QStringList users; ///< those of the run; others that have a copy in the result and are in the source take part too
    bool without_reading = false;         ///< look for what is missing alone: read no file, write no manifest
    const known_sources* known = nullptr; ///< of files that were copied; the others are read. May be absent
    bool unnamed_users = true;            ///< also users whose names are not UTF-8, whose mail no run can copy
    file_amount expected = {};            ///< for the progress; where nothing is given, it is counted first
    directory_notes* seen = nullptr;      ///< takes what was seen of each directory of the source; may be absent
};

/// What a verification found. Manifest and sums are in place unless it was cancelled.
struct verification_result
{
    verification_summary summary;
    std::vector<manifest_entry> failures; ///< the first faults
    qint64 failure_count = 0;             ///< all of them
    std::vector<QByteArray> surplus;      ///< the first files among the copies that are none, relative to the result
    qint64 surplus_count = 0;
    manifest_entry time_refused; ///< the first equal copy that did not take the source's modification time
    qint64 time_refused_count = 0;
    QStringList notes;    ///< one line for each dated folder that was left out
    QStringList problems; ///< what of the source could not be looked at besides its files
    bool cancelled = false;
};

/// The most failures, and the most files that are no copies, that a result names.
inline constexpr std::size_t most_named_failures = 20;

/// Returns what verify_copies() is going to report as done: the files below the Mail directories and their bytes. 0
/// when `cancelled` ended the look.
file_amount verification_amount(const verification_request& request, const std::function<bool()>& cancelled);

/// Compares every file below the users' Mail directories with its copy, on all cores, writes manifest and sums, and
/// gives equal copies the source's modification time. `progress` and `cancelled` are called on the calling thread,
/// several times a second; a cancelled verification leaves earlier files as they were. Throws a failure when it cannot
/// write.
verification_result verify_copies(const verification_request& request,
                                  const std::function<void(qint64 files, qint64 bytes)>& progress,
                                  const std::function<bool()>& cancelled);
