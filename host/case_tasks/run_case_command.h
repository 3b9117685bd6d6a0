#pragma once

#include <QString>
#include <QStringList>

/// What `case run` is asked to do.
struct run_case_options
{
    QString directory;
    int index = 0; ///< 0 for every source, or the one that a scheduler names
    int jobs = 0;  ///< 0 when not given
    QString retry; ///< "", "failed" or "partial"
    QStringList mappings;
    double beat_seconds = 0; ///< 0 for that of the case
    int missed_beats = 0;    ///< 0 for that of the case
    bool follow_links_outside = false;
    bool quiet = false;
};

/// Extracts one source or all that have no result; returns the exit code: that of the one source, or how the case
/// stands. Throws a failure.
int run_case_command(const run_case_options& options);
