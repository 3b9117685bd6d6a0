#include "host/cases/sources_csv.h"

#include "host/cases/shared_files.h"
#include "host/files/quiet_reading.h"
#include "host/text/failure.h"

#include <QFile>
#include <QHash>

#include <algorithm>

namespace {

// A line for each of a hundred thousand sources, with room.
constexpr qint64 most_bytes_of_sources = 64 << 20;

const QStringList& known_columns()
{
    static const QStringList columns{QStringLiteral("index"), QStringLiteral("evidence_number"),
                                     QStringLiteral("source"), QStringLiteral("notes")};
    return columns;
}

[[noreturn]] void refuse_line(const QString& path, int line, const QString& reason)
{
    refuse(QStringLiteral("cannot use %1: line %2: %3").arg(path).arg(line).arg(reason));
}

/// Where the known columns stand; -1 for one that is missing.
QList<qsizetype> column_positions(const QString& path, const csv_table& table)
{
    QList<qsizetype> positions;
    QStringList header;
    for (const QString& title : table.header) {
        header.append(title.trimmed().toLower());
    }
    for (const QString& column : known_columns()) {
        positions.append(header.indexOf(column));
        if (header.count(column) > 1) {
            refuse_line(path, 1, QStringLiteral("the column \"%1\" stands twice").arg(column));
        }
    }
    if (positions[2] < 0) {
        refuse_line(path, 1,
                    QStringLiteral("no column \"source\": the first line names the columns, as in "
                                   "index,evidence_number,source,notes"));
    }
    return positions;
}

std::optional<int> index_from(const QString& path, int line, const QString& text)
{
    if (text.isEmpty()) {
        return std::nullopt;
    }
    bool is_number = false;
    const int index = text.toInt(&is_number);
    if (!is_number || index < 1) {
        refuse_line(path, line, QStringLiteral("\"%1\" is no index").arg(text));
    }
    return index;
}

void take_rows(const QString& path, source_list& sources)
{
    const QList<qsizetype> positions = column_positions(path, sources.table);
    QHash<int, int> line_of_index;
    for (const csv_row& row : sources.table.rows) {
        if (row.fields.size() > sources.table.header.size()) {
            refuse_line(path, row.line, QStringLiteral("more fields than the first line names columns"));
        }
        const auto field = [&](qsizetype column) { return row.fields.value(positions[column]).trimmed(); };
        // A path may begin or end with blanks.
        const source_row source{index_from(path, row.line, field(0)), field(1), row.fields.value(positions[2]),
                                field(3), row.line};
        if (source.source.isEmpty()) {
            refuse_line(path, row.line, QStringLiteral("it names no source"));
        }
        if (source.index && line_of_index.contains(*source.index)) {
            refuse_line(path, row.line,
                        QStringLiteral("index %1 stands in line %2 already")
                            .arg(*source.index)
                            .arg(line_of_index.value(*source.index)));
        }
        if (source.index) {
            line_of_index.insert(*source.index, row.line);
        }
        sources.rows.append(source);
    }
}

/// Returns the row that begins at a line, of rows in the order of their lines; null without one.
template <class row_type>
row_type* row_at(QList<row_type>& rows, int line)
{
    const auto found = std::lower_bound(rows.begin(), rows.end(), line,
                                        [](const row_type& row, int wanted) { return row.line < wanted; });
    return found != rows.end() && found->line == line ? &*found : nullptr;
}

} // namespace

source_list empty_sources()
{
    source_list sources;
    sources.table.header = known_columns();
    return sources;
}

source_list sources_from(const QByteArray& text, const QString& path)
{
    source_list sources;
    QString error;
    if (!read_csv(text, sources.table, error)) {
        refuse(QStringLiteral("cannot use %1: %2").arg(path, error));
    }
    if (sources.table.header.isEmpty()) {
        refuse(QStringLiteral("cannot use %1: it is empty; its first line names the columns").arg(path));
    }
    take_rows(path, sources);
    return sources;
}

source_list read_sources(const QString& path)
{
    const quiet_data data = quiet_read(QFile::encodeName(path), most_bytes_of_sources, link_handling::follow);
    if (!data.error.isEmpty()) {
        refuse(QStringLiteral("cannot read the list of sources %1: %2").arg(path, data.error));
    }
    return sources_from(data.data, path);
}

void write_sources(const QString& path, const source_list& sources)
{
    // A list that lies elsewhere, with a link here, stays there.
    const QByteArray place = resolved_path(QFile::encodeName(path));
    write_lasting_file(place.isEmpty() ? path : QFile::decodeName(place), csv_text(sources.table));
}

void append_source(source_list& sources, const source_row& row)
{
    QStringList fields;
    for (const QString& title : sources.table.header) {
        const QList<QString> texts{row.index ? QString::number(*row.index) : QString(), row.evidence_number, row.source,
                                   row.notes};
        fields.append(texts.value(known_columns().indexOf(title.trimmed().toLower())));
    }
    const int line = sources.table.rows.isEmpty() ? 2 : sources.table.rows.last().line + 1;
    sources.table.rows.append({fields, line});
    sources.rows.append(row);
    sources.rows.last().line = line;
}

void set_index(source_list& sources, int line, int index)
{
    qsizetype column = -1;
    for (qsizetype i = 0; i < sources.table.header.size(); ++i) {
        column = sources.table.header[i].trimmed().toLower() == known_columns().first() ? i : column;
    }
    if (column < 0) {
        column = sources.table.header.size();
        sources.table.header.append(known_columns().first());
    }
    if (csv_row* row = row_at(sources.table.rows, line)) {
        row->fields.resize(std::max(row->fields.size(), column + 1));
        row->fields[column] = QString::number(index);
    }
    if (source_row* row = row_at(sources.rows, line)) {
        row->index = index;
    }
}
