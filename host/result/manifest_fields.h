#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// Returns a name as the manifest writes it: "%", control characters and bytes that are not UTF-8 as %XX.
QByteArray percent_encoded_name(const QByteArray& name);
/// The same as text, for messages: what a person reads there is found in the manifest.
QString manifest_text(const QByteArray& name);
/// Undoes percent_encoded_name(); nothing when some "%" is not followed by two upper-case hexadecimal digits.
std::optional<QByteArray> percent_decoded_name(const QByteArray& text);

/// Returns a time in nanoseconds since 1970 as ISO 8601 in UTC with nine decimals, "2024-03-05T14:07:09.000000000Z".
QByteArray time_to_text(qint64 nanoseconds);
/// Reads what time_to_text() returns; nothing for any other text.
std::optional<qint64> time_from_text(const QByteArray& text);
