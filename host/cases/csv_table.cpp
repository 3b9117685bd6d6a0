#include "host/cases/csv_table.h"

#include "host/text/utf8.h"

#include <algorithm>
#include <array>

namespace {

constexpr QChar separators[] = {QLatin1Char(','), QLatin1Char(';'), QLatin1Char('\t')};

/// Returns the separator that stands most often, outside of quotes, in the first line that says something: that line
/// names the columns.
QChar separator_of(const QString& text)
{
    std::array<qsizetype, std::size(separators)> counts{};
    bool is_quoted = false;
    bool begins_field = true;
    bool ended_quote = false; // which a second quote directly behind takes back
    bool says_something = false;
    for (const QChar letter : text) {
        const auto* const found = std::find(std::begin(separators), std::end(separators), letter);
        const bool is_separator = found != std::end(separators);
        if (letter == QLatin1Char('"') && (is_quoted || begins_field || ended_quote)) {
            says_something = says_something || ended_quote;
            ended_quote = is_quoted;
            is_quoted = !is_quoted;
            begins_field = false;
            continue;
        }
        if (letter == QLatin1Char('\n') && !is_quoted) {
            if (says_something) {
                break;
            }
            counts.fill(0);
        } else if (is_separator && !is_quoted) {
            ++counts[static_cast<std::size_t>(found - separators)];
        } else {
            says_something = true;
        }
        ended_quote = false;
        begins_field = !is_quoted && (is_separator || letter == QLatin1Char('\n'));
    }
    return separators[std::max_element(counts.begin(), counts.end()) - counts.begin()];
}

/// Returns a line of fields; one that holds any of the special characters is quoted.
QByteArray quoted_line(const QStringList& fields, QChar separator, QStringView special)
{
    QStringList written;
    for (const QString& field : fields) {
        const bool needs_quotes =
            std::any_of(field.begin(), field.end(), [special](QChar letter) { return special.contains(letter); });
        QString doubled = field;
        doubled.replace(QLatin1Char('"'), QStringLiteral("\"\""));
        written.append(needs_quotes ? QLatin1Char('"') + doubled + QLatin1Char('"') : field);
    }
    return written.join(separator).toUtf8() + '\n';
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
    return quoted_line(fields, separator, QStringLiteral("\"\n\r") + separator);
}

QByteArray csv_text(const csv_table& table)
{
    QByteArray text = table.has_byte_order_mark ? "\xEF\xBB\xBF" : "";
    // The columns' names tell a reader the separator, and their first letter must not pass for the mark.
    const QChar separator = table.header.size() > 1 ? table.separator : separators[0];
    text += quoted_line(table.header, separator, u"\"\n\r,;\t\uFEFF");
    for (const csv_row& row : table.rows) {
        text += separated_line(row.fields, separator);
    }
    return text;
}
