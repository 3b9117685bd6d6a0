#pragma once

#include "host/self_test/self_test_ground.h"
#include "host/self_test/statements.h"

/// Kills runs at moments spread over `whole_run` milliseconds and goes on with each; what comes of it must be what the
/// finished run `whole` left. At least one of them must have been met at work.
void judge_killed_runs(const self_test_ground& ground, const QString& whole, qint64 whole_run, examination& found);
