#pragma once

#include "host/terminal/exit_codes.h"
#include "host/text/failure.h"

/// Ends a command with an exit code other than that of a command that could not run.
class command_failure : public failure
{
public:
    command_failure(int code, const QString& text) : failure(text), exit_code_of_failure(code) {}

    /// Returns the code that the program ends with.
    int exit_code() const { return exit_code_of_failure; }

private:
    int exit_code_of_failure;
};
