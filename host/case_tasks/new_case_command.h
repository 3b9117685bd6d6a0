#pragma once

#include "host/cases/case_settings.h"

#include <QString>

/// What `case new` is asked to do.
struct new_case_options
{
    QString directory;
    case_data about;
    double beat_seconds = 0; ///< 0 for the usual time
    int missed_beats = 0;    ///< 0 for the usual number
};

/// Makes a case; returns the exit code. Throws a failure.
int new_case_command(const new_case_options& options);
