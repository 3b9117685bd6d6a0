#pragma once

#include <QByteArray>
#include <QByteArrayList>

#include <optional>

/// Appends a text as one field of a line of comma-separated values: in quotes, its own ones doubled, where it holds a
/// quote, a comma or a line break.
void append_csv_field(QByteArray& line, QByteArrayView text);

/// Returns a text that no spreadsheet takes for a formula: with an apostrophe before it where it begins with "=", "+",
/// "-", "@", a tab or a carriage return. Whole numbers with a sign stay as they are.
QByteArray spreadsheet_text(const QByteArray& text);

/// Returns a line of comma-separated values with its end, "\r\n".
QByteArray csv_line(const QByteArrayList& texts);

/// Splits one line, without its line end, into its fields; nothing when its quotes are out of order.
std::optional<QByteArrayList> csv_fields(const QByteArray& line);
