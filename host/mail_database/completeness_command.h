#pragma once

#include <QString>

/// Which result's certificate is printed, and how.
struct completeness_options
{
    QString result;
    QString format = QStringLiteral("table"); ///< "table", "csv" or "json"
    bool raw = false;                         ///< CSV as it is, also what a spreadsheet would run
};

/// Prints what is on disk, in the index and in both, a line a mailbox; returns the exit code, which tells when a sum
/// does not close. Throws a failure when there is nothing to read.
int completeness_command(const completeness_options& options);
