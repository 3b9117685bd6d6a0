#pragma once

#include "host/accounts/folder_extents.h"
#include "host/result/run_record.h"
#include "host/run/preparation.h"
#include "host/terminal/progress.h"
#include "host/verify/known_sources.h"

/// Copies what the rows rest on and the plug-in does not copy into the result's kept evidence: the system's version,
/// the account stores with what stands beside them, and the hidden and loose files of each Mail directory. What is kept
/// already stays. A file that cannot be kept is an error of the record. Ends early when interrupted.
/// `known` takes the hash of each file that was read. Returns what lies in the folders that it went through.
folder_extents keep_witnesses(const run_plan& plan, known_sources& known, progress_style style, run_record& record);
