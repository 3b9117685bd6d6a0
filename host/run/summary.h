#pragma once

#include "host/result/run_record.h"

/// Prints what a run found, by user, for a person, with the root hash of its seal, which may be empty.
void print_run_summary(const run_record& record, const QString& root_hash);

/// Says on standard error what keeps a run from being whole: the failures of the log with the first few lines, errors,
/// a cancellation, or that there was nothing to extract. Nothing when it is whole.
void complain_about_run(const run_record& record);
