#pragma once

#include "host/run/run_options.h"

/// Extracts the mail of a source into a result and prints what was found; returns the exit code. Throws a failure when
/// it cannot run.
int run_command(const run_options& options);
