#pragma once

#include "host/extraction/extraction.h"
#include "host/files/exclusive_lock.h"
#include "host/result/result_paths.h"
#include "host/run/earlier_run.h"
#include "host/run/run_options.h"
#include "host/source/copy_walk.h"
#include "host/source/directory_notes.h"

/// What a run works with once everything that can be checked beforehand is checked.
struct run_plan
{
    result_paths result;
    extraction_settings settings = {};
    QString left_out = {};        ///< one line on users and places that the run cannot reach; empty when there are none
    QStringList passed_over = {}; ///< users of the source whom `--user` leaves out
    source_identity identity = {};
    case_data about = {};
    earlier_run earlier = earlier_run::none;
    std::map<directory_identity, qint64> files_of_accounts = {}; ///< by account folder, as far as they are known
    directory_notes seen = {};                                   ///< of the Mail directories, a moment ago
    qint64 log_begin = 0;                                        ///< where this run's part of the log begins
};

/// Checks source, result and users and lays out what the plug-in is told; changes nothing. Throws a failure
/// that names the path and the reason.
run_plan prepare_run(const run_options& options);

/// Creates the result directory with the program's own folder, takes the result's lock, and creates the log. A log in
/// the other form, plain or enciphered, is set aside under the next free number. Nothing of an earlier run is lost yet.
/// Throws a failure.
[[nodiscard]] exclusive_lock create_result(const run_options& options, run_plan& plan);

/// Removes what an earlier run said of the result and what is left of its working copies; its copies as well, or as far
/// as they are not whole, as the plan has it. Throws a failure.
void remove_earlier_results(const run_options& options, run_plan& plan);
