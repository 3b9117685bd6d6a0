#pragma once

#include <QString>

#include <stdexcept>

/// Ends what is being done: one line that says what failed, which path, and why. It knows no exit code; a command that
/// does not catch it could not run.
class failure : public std::runtime_error
{
public:
    explicit failure(const QString& text) : std::runtime_error(text.toStdString()), message_text(text) {}

    /// Returns the line for the user.
    const QString& message() const { return message_text; }

private:
    QString message_text;
};

/// Throws a failure.
[[noreturn]] inline void refuse(const QString& message)
{
    throw failure(message);
}
