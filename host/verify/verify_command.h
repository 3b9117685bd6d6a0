#pragma once

#include <QString>

/// `verify`: a result against its source.
struct verify_options
{
    QString source;
    QString result;
    bool quiet = false; ///< no progress
};

/// Compares a result, however old, with its source, wherever that is mounted now; writes manifest and sums anew, and
/// returns the exit code. Throws a failure when it cannot.
int verify_command(const verify_options& options);
