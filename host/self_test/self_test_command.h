#pragma once

/// `self-test`: whether this program, on this machine, does what is said of it.
struct self_test_options
{
    bool json = false; ///< rather than a table
};

/// Tries this program on a synthetic volume in a temporary directory and prints each statement with what came of it and
/// the hashes of program and library. The directory stays when a statement fails. Returns the exit code: whole only
/// when none fails. Throws a failure when the trials cannot be made.
int self_test_command(const self_test_options& options);
