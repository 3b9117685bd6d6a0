#pragma once

#include <QString>

/// Which accounts of which result are printed, and how.
struct accounts_options
{
    QString result;
    QString user;                             ///< only this one's; empty for all
    QString format = QStringLiteral("table"); ///< "table", "csv" or "json"
    bool wide = false;                        ///< every field, however wide the table gets
    bool raw = false;                         ///< as the store has it, also what a spreadsheet would run
};

/// Prints who the accounts of a result are; returns the exit code. Throws a failure when there is nothing to read.
int accounts_command(const accounts_options& options);
