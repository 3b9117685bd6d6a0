#pragma once

#include <QString>

/// What is looked at.
struct survey_options
{
    QString source;    ///< directory under which the source's file system is reachable
    QString result;    ///< where a run would write; empty when its room is not asked for
    bool json = false; ///< everything, as one JSON object, rather than a page for a person
};

/// Prints what the source holds for a run, changing nothing. Returns the exit code: 0, 1 when the source is not a
/// readable directory, 4 when no Mail directory is found.
int survey_command(const survey_options& options);
