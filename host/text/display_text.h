#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

/// Returns a file name or path as one line a person can read and trust: bytes that are not UTF-8 appear as "\xNN",
/// control characters, line separators and marks that change the writing direction as "\n", "\t" or "\u{NNNN}", a
/// backslash as "\\", so that two different names never look alike. Quotes nothing and shortens nothing.
QString display_text(const QByteArray& raw);
/// The same in UTF-8.
QByteArray display_utf8(const QByteArray& raw);
/// The same for a text that is decoded already, but leaves a backslash as it is: applied once more it changes nothing,
/// so that a message may hold names that are shown like this.
QString display_text(const QString& text);

/// Returns a number of bytes in the largest decimal unit that leaves at least 1 before the point ("1.2 GB", "512 B").
QString display_bytes(qint64 bytes);

/// Returns a time in UTC to the second, "not known" for an invalid one.
QString display_time(const QDateTime& time);

/// Returns a number with its thousands set apart by commas, whatever the locale.
QString display_number(qint64 number);
