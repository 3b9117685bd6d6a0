#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

/// One line of a table in a text file; a quoted field may hold line breaks.
struct csv_row
{
    QStringList fields;
    int line = 0; ///< the first of the lines in the file that it takes, from 1
};

/// A table as people edit it in a spreadsheet. Comma, semicolon or tab separate its fields, whichever the first line
/// has most of; lines end in LF, CR LF or CR.
struct csv_table
{
    QChar separator = QLatin1Char(',');
    bool has_byte_order_mark = false; ///< which some spreadsheets need to take a file for UTF-8
    QStringList header;
    QList<csv_row> rows; ///< without empty ones
};

/// Reads a table; false, with the line and the reason in `error`, when it is not UTF-8 or a quote does not end.
bool read_csv(const QByteArray& data, csv_table& table, QString& error);

/// Returns the table as UTF-8 text; fields are quoted where they have to be.
QByteArray csv_text(const csv_table& table);

/// Returns one line of such a text, with its line break.
QByteArray separated_line(const QStringList& fields, QChar separator = QLatin1Char(','));
