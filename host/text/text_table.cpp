#include "host/text/text_table.h"

#include "host/text/display_text.h"
#include "host/text/text_layout.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr qsizetype column_gap = 2;

QString line_of(const QList<table_column>& columns, const QStringList& texts, const QList<qsizetype>& widths)
{
    QString line;
    for (qsizetype i = 0; i < columns.size(); ++i) {
        const QString text = shortened_in_middle(texts[i], widths[i]);
        const QString filling(widths[i] - text_width(text), QLatin1Char(' '));
        line += (i > 0 ? QString(column_gap, QLatin1Char(' ')) : QString()) +
                (columns[i].right_aligned ? filling + text : text + filling);
    }
    while (line.endsWith(QLatin1Char(' '))) {
        line.chop(1);
    }
    return line;
}

/// Takes from the widest column that may shrink, one by one, until the line fits; false when it never does.
bool shrink_to(qsizetype width, const QList<table_column>& columns, QList<qsizetype>& widths)
{
    qsizetype line_width = std::accumulate(widths.begin(), widths.end(), column_gap * (columns.size() - 1));
    for (; line_width > width; --line_width) {
        qsizetype widest = -1;
        for (qsizetype i = 0; i < columns.size(); ++i) {
            const qsizetype narrowest = std::max(columns[i].narrowest, text_width(columns[i].title));
            if (columns[i].narrowest > 0 && widths[i] > narrowest && (widest < 0 || widths[i] > widths[widest])) {
                widest = i;
            }
        }
        if (widest < 0) {
            return false;
        }
        --widths[widest];
    }
    return true;
}

/// Lays out each row as a block of lines, a text below the other: for a screen on which the columns find no room.
QStringList block_lines(const QList<table_column>& columns, const QList<QStringList>& rows)
{
    qsizetype title_width = 0;
    for (const table_column& column : columns) {
        title_width = std::max(title_width, text_width(column.title));
    }
    QStringList lines;
    for (const QStringList& row : rows) {
        if (!lines.isEmpty()) {
            lines.append(QString());
        }
        for (qsizetype i = 0; i < columns.size(); ++i) {
            if (!row[i].isEmpty()) {
                const QString filling(title_width - text_width(columns[i].title) + column_gap, QLatin1Char(' '));
                lines.append(columns[i].title + filling + row[i]);
            }
        }
    }
    return lines;
}

} // namespace

QStringList table_lines(const QList<table_column>& columns, const QList<QStringList>& rows, qsizetype width)
{
    QStringList titles;
    QList<qsizetype> widths;
    for (const table_column& column : columns) {
        titles.append(column.title);
        widths.append(text_width(column.title));
    }
    QList<QStringList> visible_rows;
    visible_rows.reserve(rows.size());
    for (const QStringList& row : rows) {
        QStringList& visible = visible_rows.emplaceBack();
        for (qsizetype i = 0; i < columns.size(); ++i) {
            visible.append(display_text(row[i]));
            widths[i] = std::max(widths[i], text_width(visible.last()));
        }
    }
    if (!shrink_to(width, columns, widths) && width < page_width) {
        return block_lines(columns, visible_rows);
    }

    QStringList lines{line_of(columns, titles, widths)};
    QStringList rules;
    for (const qsizetype column_width : widths) {
        rules.append(QString(column_width, QLatin1Char('-')));
    }
    lines.append(line_of(columns, rules, widths));
    for (const QStringList& row : visible_rows) {
        lines.append(line_of(columns, row, widths));
    }
    return lines;
}
