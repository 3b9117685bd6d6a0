#pragma once

#include <QString>

/// Which result is shown, and how.
struct show_options
{
    QString result;
    QString format = QStringLiteral("table"); ///< "table", "csv" or "json"
    bool wide = false;                        ///< shorten nothing in a table
    bool raw = false;                         ///< leave cells of csv unguarded
};

/// Prints the accounts of a result; returns the exit code. Throws a failure when there is no result to read.
int show_command(const show_options& options);
