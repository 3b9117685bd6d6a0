#pragma once

#include "host/result/run_record.h"
#include "host/verify/recheck.h"

#include <QString>

#include <optional>

/// The source that a result is held against.
struct recorded_source
{
    QString path;            ///< absolute; empty when there is none
    QString note;            ///< why there is none; empty otherwise
    bool is_blocked = false; ///< there may be one: it could not be looked at
};

/// Takes the source that is named, or the recorded one if it is there. Throws a failure for one that is named and is no
/// directory, or cannot be the recorded one unless `other_source`: another system, other users, most files absent. One
/// that is named and cannot be looked at ends the command with `with_failures`.
recorded_source choose_source(const result_paths& result, const std::optional<run_record>& run, const QString& named,
                              bool other_source);

/// Returns what recheck() is to work on.
recheck_request recheck_request_for(const result_paths& result, const recorded_source& source,
                                    const std::optional<run_record>& run);
