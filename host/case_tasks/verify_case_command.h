#pragma once

#include <QString>

/// What `case verify` is asked to do.
struct verify_case_options
{
    QString directory;
    int jobs = 1; ///< results at a time
    bool quiet = false;
};

/// Holds every result against its seal, its manifest and the root hash that was written down when it became whole;
/// returns the exit code: 0 when all fit, 3 when one does not. Throws a failure.
int verify_case_command(const verify_case_options& options);
