#pragma once

#include "host/self_test/statements.h"

/// Builds a volume in an empty directory, has the program at a path run on it, damages, interrupts and verifies, and
/// returns what came of each statement. Everything is written below the directory. Throws a failure when the trials
/// cannot be made.
statement_list self_test(const QString& program, const QString& directory);
