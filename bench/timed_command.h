#pragma once

#include <QString>
#include <QStringList>

/// What one child process took.
struct command_cost
{
    double seconds = 0;
    double peak_mb = 0; ///< its largest resident size, 10^6 bytes
};

/// Runs a program, found by the search path, with its output thrown away. Ends this program when it does not start or
/// ends with another exit code than 0.
command_cost cost_of(const QStringList& command);

/// The same for a line that a person types.
command_cost cost_of_line(const QString& line);
