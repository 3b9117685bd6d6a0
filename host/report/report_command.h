#pragma once

#include <QString>

struct report_options
{
    QString result;
    QString output; ///< empty for the result's own report
};

/// Writes the report of a result and returns the exit code; what fails is told in one line on standard error, as
/// is a run record that is there and cannot be read, with which the report is written and not whole.
int report_command(const report_options& options);
