#pragma once

#include "host/files/file_time.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

/// Returns a name as the manifest writes it: "%", control characters and bytes that are not UTF-8 as %XX.
QByteArray percent_encoded_name(const QByteArray& name);
/// The same for a cell of a file that people open in a spreadsheet: a first character that would make it a formula is
/// written as %XX as well.
QByteArray percent_encoded_cell(const QByteArray& name);
/// The same as text, for messages: what a person reads there is found in the manifest.
QString manifest_text(const QByteArray& name);
/// Undoes percent_encoded_name(); nothing when some "%" is not followed by two upper-case hexadecimal digits.
std::optional<QByteArray> percent_decoded_name(QByteArrayView text);

/// Returns a time as ISO 8601 in UTC with nine decimals, "2024-03-05T14:07:09.000000000Z". A year outside 0 to 9999 has
/// a sign and at least six digits.
QByteArray time_to_text(const file_time& time);
/// Reads what time_to_text() returns; nothing for any other text.
std::optional<file_time> time_from_text(QByteArrayView text);
