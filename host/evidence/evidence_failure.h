#pragma once

#include <QString>

#include <stdexcept>

/// Says why a database of the evidence cannot be read, or not further.
class evidence_failure : public std::runtime_error
{
public:
    explicit evidence_failure(const QString& text) : std::runtime_error(text.toStdString()), message_text(text) {}

    /// Returns one line that names the file and the reason.
    const QString& message() const { return message_text; }

private:
    QString message_text;
};
