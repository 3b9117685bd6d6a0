#pragma once

#include <QString>

/// What `case status` is asked to do.
struct status_options
{
    QString directory;
    bool json = false;
    bool watch = false;
};

/// Prints how a case stands; returns the exit code that tells it. Throws a failure.
int status_command(const status_options& options);
