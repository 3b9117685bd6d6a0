#pragma once

#include <QString>

/// What `case collect` is asked to do.
struct collect_options
{
    QString directory;
    bool partial = false; ///< take what there is of an unfinished case
    bool quiet = false;
};

/// Makes one database, one set of tables and one report of all results; returns the exit code. Throws a failure.
int collect_command(const collect_options& options);
