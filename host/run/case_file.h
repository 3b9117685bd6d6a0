#pragma once

#include "host/run/run_options.h"

/// Returns the case data of a run: what the options say, and where they say nothing, what the file of case data holds.
/// Throws a failure when that file cannot be read, is no JSON object, or holds a member that is no text or not known.
case_data case_data_of(const run_options& options);
