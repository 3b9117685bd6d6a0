#include "host/cases/csv_table.h"

#include "host/text/utf8.h"

#include <algorithm>

namespace {

constexpr QChar separators[] = {QLatin1Char(','), QLatin1Char(';'), QLatin1Char('\t')};

QChar separator_of(const QString& text)
{
    const qsizetype line_end = text.indexOf(QLatin1Char('\n'));
    const QString first = line_end < 0 ? text : text.left(line_end);
    return *std::max_element(std::begin(separators), std::end(separators),
                             [&first](QChar one, QChar other) { return first.count(one) < first.count(other); });
}

int line_of(const QByteArray& data, qsizetype position)
{
    return 1 + static_cast<int>(data.left(position).count('\n'));
}

/// Splits a text with line breaks of one kind into rows.
class csv_splitter
{
public:
    csv_splitter(const QString& content, QChar between) : text(content), separator(between) {}

    bool split(QList<csv_row>& rows, QString& error)
    {
        for (; position < text.size(); ++position) {
            const QChar letter = text[position];
            if (letter == QLatin1Char('"') && field.isEmpty()) {
                if (!take_quoted()) {
                    error = QStringLiteral("line %1: a quote does not end").arg(first_line);
                    return false;
                }
            } else if (letter == separator) {
                end_field();
            } else if (letter == QLatin1Char('\n')) {
                end_row(rows);
            } else {
                field += letter;
            }
        }
        end_row(rows);
        return true;
    }

private:
    /// Takes a quoted field up to its last quote; a doubled quote stands for one.
    bool take_quoted()
    {
        while (++position < text.size()) {
            const QChar letter = text[position];
            if (letter != QLatin1Char('"')) {
                line += letter == QLatin1Char('\n') ? 1 : 0;
                field += letter;
            } else if (position + 1 < text.size() && text[position + 1] == QLatin1Char('"')) {
                ++position;
                field += letter;
            } else {
                return true;
            }
        }
        return false;
    }

    void end_field()
    {
        fields.append(field);
        field.clear();
    }

    void end_row(QList<csv_row>& rows)
    {
        end_field();
        if (std::any_of(fields.begin(), fields.end(), [](const QString& text_of) { return !text_of.isEmpty(); })) {
            rows.append({fields, first_line});
        }
        fields.clear();
        first_line = ++line;
    }

    const QString& text;
    QChar separator;
    qsizetype position = 0;
    int line = 1;
    int first_line = 1;
    QString field;
    QStringList fields;
};

} // namespace

bool read_csv(const QByteArray& data, csv_table& table, QString& error)
{
    if (!is_utf8(data)) {
        qsizetype position = 0;
        while (position < data.size() && utf8_character_length(data, position) > 0) {
            position += utf8_character_length(data, position);
        }
        error = QStringLiteral("line %1: not UTF-8; save it as \"CSV UTF-8\"").arg(line_of(data, position));
        return false;
    }
    table.has_byte_order_mark = data.startsWith("\xEF\xBB\xBF");
    // Decoding drops the mark.
    QString text = QString::fromUtf8(data);
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    if (text.contains(QChar(QChar::Null))) {
        error = QStringLiteral("it holds a zero byte");
        return false;
    }
    table.separator = separator_of(text);
    table.rows.clear();
    if (!csv_splitter(text, table.separator).split(table.rows, error)) {
        return false;
    }
    table.header = table.rows.isEmpty() ? QStringList() : table.rows.takeFirst().fields;
    return true;
}

QByteArray separated_line(const QStringList& fields, QChar separator)
{
    QStringList written;
    for (const QString& field : fields) {
        const bool needs_quotes = field.contains(separator) || field.contains(QLatin1Char('"')) ||
                                  field.contains(QLatin1Char('\n')) || field.contains(QLatin1Char('\r'));
        QString doubled = field;
        doubled.replace(QLatin1Char('"'), QStringLiteral("\"\""));
        written.append(needs_quotes ? QLatin1Char('"') + doubled + QLatin1Char('"') : field);
    }
    return written.join(separator).toUtf8() + '\n';
}

QByteArray csv_text(const csv_table& table)
{
    QByteArray text = table.has_byte_order_mark ? "\xEF\xBB\xBF" : "";
    text += separated_line(table.header, table.separator);
    for (const csv_row& row : table.rows) {
        text += separated_line(row.fields, table.separator);
    }
    return text;
}
