#pragma once

#include "host/run_record.h"

/// Compares what a run copied with its source, shows how far it is, and says on standard error what is not as it should
/// be. Fills in the record's verification; leaves it empty when cancelled or when it failed, which is an error of the
/// record then.
void verify_run(run_record& record, bool quiet);
