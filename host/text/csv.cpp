#include "host/text/csv.h"

#include <algorithm>
#include <numeric>
#include <string_view>

void append_csv_field(QByteArray& line, QByteArrayView text)
{
    // Without a way out in the middle this is done for many characters at once.
    bool needs_quotes = false;
    for (const char character : text) {
        needs_quotes |= character == '"' || character == ',' || character == '\r' || character == '\n';
    }
    if (!needs_quotes) {
        line.append(text);
        return;
    }
    line += '"';
    for (const char character : text) {
        if (character == '"') {
            line += '"';
        }
        line += character;
    }
    line += '"';
}

QByteArray spreadsheet_text(const QByteArray& text)
{
    constexpr std::string_view beginnings_of_formulas = "=+-@\t\r";
    if (text.isEmpty() || beginnings_of_formulas.find(text.front()) == std::string_view::npos) {
        return text;
    }
    const bool is_number =
        text.size() > 1 && (text.front() == '+' || text.front() == '-') &&
        std::all_of(text.begin() + 1, text.end(), [](char character) { return character >= '0' && character <= '9'; });
    return is_number ? text : '\'' + text;
}

QByteArray csv_line(const QByteArrayList& texts)
{
    QByteArray line;
    line.reserve(std::accumulate(texts.begin(), texts.end(), texts.size() + 2,
                                 [](qsizetype size, const QByteArray& text) { return size + text.size(); }));
    for (const QByteArray& text : texts) {
        append_csv_field(line, text);
        line += ',';
    }
    line.chop(1);
    return line += "\r\n";
}

std::optional<QByteArrayList> csv_fields(const QByteArray& line)
{
    if (!line.contains('"')) {
        return line.split(',');
    }
    QByteArrayList fields{QByteArray()};
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        if (line[i] == '"') {
            const bool doubled = quoted && i + 1 < line.size() && line[i + 1] == '"';
            if (doubled) {
                fields.last() += line[++i];
            } else if (quoted || fields.last().isEmpty()) {
                quoted = !quoted;
            } else {
                return std::nullopt;
            }
        } else if (line[i] == ',' && !quoted) {
            fields.append(QByteArray());
        } else {
            fields.last() += line[i];
        }
    }
    if (quoted) {
        return std::nullopt;
    }
    return fields;
}
