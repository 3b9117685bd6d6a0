#pragma once

#include <QByteArray>
#include <QByteArrayList>

#include <optional>

/// Returns a text as one field of a line of comma-separated values: in quotes, its own ones doubled, where it holds a
/// quote, a comma or a line break.
QByteArray csv_field(QByteArray text);

/// Returns a text that no spreadsheet takes for a formula: with an apostrophe before it where it begins with "=", "+",
/// "-", "@", a tab or a carriage return. Numbers stay as they are.
QByteArray spreadsheet_text(const QByteArray& text);

/// Returns a line of comma-separated values with its end, "\r\n".
QByteArray csv_line(const QByteArrayList& texts);

/// Returns a text that a spreadsheet takes for a text: one that begins like a formula gets an apostrophe before it.
QByteArray csv_guarded(const QByteArray& text);

/// Splits one line, without its line end, into its fields; nothing when its quotes are out of order.
std::optional<QByteArrayList> csv_fields(const QByteArray& line);
