#pragma once

#include "host/files/file_amount.h"
#include "host/result/result_paths.h"
#include "host/verify/findings.h"

#include <QByteArray>

#include <functional>
#include <optional>
#include <vector>

/// What a recheck works on.
struct recheck_request
{
    result_paths result;
    std::optional<QByteArray> source = {}; ///< absolute; nothing to hold the copies alone against the manifest
    std::vector<QByteArray> users = {};    ///< whose Mail directories in the source hold nothing but what is recorded
    QString blocked = {};                  ///< why there may be more users in the source; empty when there are none
};

/// What a recheck gave. A file with a finding counts among the files all the same.
struct recheck_outcome
{
    file_amount copies;  ///< held against their recorded hash
    file_amount sources; ///< the same of the source
    qint64 recorded_faults = 0;
    qint64 copy_findings = 0; ///< copies that differ, are gone, cannot be read, or that the manifest does not know
    qint64 source_findings = 0;
    bool cancelled = false;
};

/// Who follows a recheck, always on the calling thread.
struct recheck_listener
{
    finding_listener found;
    std::function<void(qint64 files, qint64 bytes)> progress; ///< several times a second
    std::function<bool()> cancelled;                          ///< as often
};

/// Returns what recheck() is going to report as done. Throws a failure when there is no sound manifest.
file_amount recheck_amount(const recheck_request& request, const std::function<bool()>& cancelled);

/// Reads every copy, and every source file where there is a source, and holds them against the hashes that the manifest
/// records; then looks for copies and source files that it does not know. Changes nothing. Throws a failure when there
/// is no sound manifest.
recheck_outcome recheck(const recheck_request& request, const recheck_listener& listener);
