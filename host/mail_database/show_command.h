#pragma once

#include <QString>

/// Which result is shown, and how.
struct show_options
{
    QString result;
    QString format = QStringLiteral("table"); ///< "table", "csv" or "json"
    bool wide = false;                        ///< shorten nothing in a table
    bool raw = false;                         ///< cells of csv unguarded
};

/// Prints the table of accounts of a result and what was found that has no row there; returns the exit code. Throws a
/// failure when there is no result to read.
int show_command(const show_options& options);
