#pragma once

#include "host/terminal/exit_codes.h"

#include <QString>

#include <stdexcept>

/// Ends a command: carries the exit code and the one line that says what failed, which path, and why.
class command_failure : public std::runtime_error
{
public:
    command_failure(int code, const QString& text)
        : std::runtime_error(text.toStdString())
        , exit_code_of_failure(code)
        , message_text(text)
    {
    }

    /// Returns the code that the program ends with.
    int exit_code() const { return exit_code_of_failure; }
    /// Returns the line for the user.
    const QString& message() const { return message_text; }

private:
    int exit_code_of_failure;
    QString message_text;
};

/// Ends a command that could not run.
[[noreturn]] inline void refuse(const QString& message)
{
    throw command_failure(exit_code::could_not_run, message);
}
