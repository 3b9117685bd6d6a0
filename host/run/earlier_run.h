#pragma once

#include "host/result/result_paths.h"
#include "host/run/run_options.h"
#include "host/source/source_identity.h"

/// What a run does with what an earlier one left in its result.
enum class earlier_run
{
    none,      ///< there is nothing
    removed,   ///< everything of it goes
    continued, ///< its copies stay as far as they are whole; its rows are made anew
    unreported ///< it came to its end but for the report, and nothing else is to be done
};

/// Says what becomes of an earlier run's work. Throws a failure that names the way out for a result that may not be
/// used: one that holds a run, unless it is to be cleared, or to be gone on with and did not come to its end, and is of
/// the same source under the same number.
earlier_run look_at_earlier_run(const result_paths& result, const run_options& options,
                                const source_identity& identity);
