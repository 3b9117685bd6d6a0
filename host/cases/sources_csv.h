#pragma once

#include "host/cases/csv_table.h"

#include <QString>

#include <optional>

/// One source as a row of sources.csv names it.
struct source_row
{
    std::optional<int> index; ///< nothing for a row that a person added and that has none yet
    QString evidence_number;
    QString source; ///< as written: absolute, or relative to the case directory
    QString notes;
    int line = 0;
};

/// sources.csv: the columns that this program knows, and those that people added, which stay.
struct source_list
{
    csv_table table;
    QList<source_row> rows;
};

/// Returns a list with no source and the columns that every list begins with.
source_list empty_sources();

/// Understands the text of a list. Throws a failure that names the line and the reason, and the list by `path`.
source_list sources_from(const QByteArray& text, const QString& path);

/// Reads a list. Throws a failure that names the path, the line and the reason.
source_list read_sources(const QString& path);

/// Writes it in one step; throws a failure.
void write_sources(const QString& path, const source_list& sources);

/// Appends a source to the list.
void append_source(source_list& sources, const source_row& row);

/// Writes an index into the row that begins at a line.
void set_index(source_list& sources, int line, int index);
