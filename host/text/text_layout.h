#pragma once

#include <QString>

/// The columns of a page for a person who redirects it, prints it or quotes it.
inline constexpr qsizetype page_width = 100;

/// Returns the columns that a text takes on a terminal: one a code point, none for a mark on the letter before it.
qsizetype text_width(const QString& text);

/// Returns a text of at most `width` columns (at least 1): its beginning and end with "…" between them.
QString shortened_in_middle(const QString& text, qsizetype width);

/// Returns a duration as "m:ss" or "h:mm:ss".
QString duration_text(qint64 seconds);
