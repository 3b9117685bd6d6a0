#pragma once

#include <QString>
#include <QStringList>

#include <limits>

/// The columns of a page for a person who redirects it, prints it or quotes it.
inline constexpr qsizetype page_width = 100;

/// Wider than any text: nothing is shortened to it.
inline constexpr qsizetype unlimited_width = std::numeric_limits<qsizetype>::max() / 2;

/// Returns the columns that a text takes on a terminal.
qsizetype text_width(const QString& text);

/// Returns a text of at most `width` columns (at least 1): its beginning and end with "…" between them.
QString shortened_in_middle(const QString& text, qsizetype width);

/// Breaks a text into lines of at most `width` columns, between words alone: a longer word stands on a line of its own.
/// At least one line, which may be empty.
QStringList wrapped(const QString& text, qsizetype width);

/// Returns a duration as "m:ss" or "h:mm:ss".
QString duration_text(qint64 seconds);
