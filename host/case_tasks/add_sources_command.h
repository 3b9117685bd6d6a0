#pragma once

#include <QString>
#include <QStringList>

/// What `case add` is asked to do.
struct add_sources_options
{
    QString directory;
    QStringList sources;     ///< relative ones start at the current directory
    QString evidence_number; ///< for a single source
    QString from;            ///< a table with the columns of sources.csv; empty for none
    QStringList mappings;
};

/// Gives sources an index and notes what tells them from others; returns the exit code, 3 when one could not be looked
/// at or was refused. Throws a failure.
int add_sources_command(const add_sources_options& options);
