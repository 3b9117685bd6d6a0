#pragma once

#include "host/result/result_paths.h"
#include "host/run/extraction.h"
#include "host/run/run_options.h"

/// What a run works with once everything that can be checked beforehand is checked.
struct run_plan
{
    result_paths result;
    extraction_settings settings = {};
    QString left_out = {}; ///< one line on users that no path leads to; empty when there are none
    qint64 last_row = 0;   ///< the last row of the table of accounts that is no product of this run
    qint64 log_begin = 0;  ///< where this run's part of the log begins
};

/// Checks source, result and users and lays out what the plug-in is told; changes nothing. Throws a failure
/// that names the path and the reason.
run_plan prepare_run(const run_options& options);

/// Creates the result directory with the program's own folder, and the log. A log in the other form, plain or
/// enciphered, is set aside under the next free number. Nothing of an earlier run is lost yet. Throws a
/// failure.
void create_result(const run_options& options, run_plan& plan);

/// Removes what earlier runs said of the result, and with `--clear` their copies as well. Throws a failure.
void remove_earlier_results(const run_options& options, const run_plan& plan);
