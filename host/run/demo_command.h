#pragma once

#include <QString>

/// Where the demonstration takes place.
struct demo_options
{
    QString directory; ///< empty for a fresh folder below the temporary directory
};

/// Writes a sample source, runs on it and shows the accounts; returns the run's exit code. A folder of an earlier
/// demonstration is used again, any other folder must be empty. Throws a failure when it cannot run.
int demo_command(const demo_options& options);
