#pragma once

#include <QByteArray>
#include <QString>

/// Writes bytes to standard output as they are.
void print_bytes(const QByteArray& bytes);

/// Writes one line to standard output, as UTF-8.
void print_line(const QString& line);

/// Returns the columns that a line on standard output may take: the terminal's, or those of a page where there is none.
qsizetype terminal_width();

/// Writes one line to standard error, beginning with the program's name; control characters are made visible, so that
/// a path cannot break the line.
void complain(const QString& message);
