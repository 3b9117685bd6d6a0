#include "host/text/text_layout.h"

#include "host/text/character_width.h"

#include <algorithm>
#include <numeric>
#include <string>

qsizetype text_width(const QString& text)
{
    const std::u32string points = text.toStdU32String();
    return std::accumulate(points.begin(), points.end(), qsizetype(0),
                           [](qsizetype sum, char32_t point) { return sum + character_width(point); });
}

QString shortened_in_middle(const QString& text, qsizetype width)
{
    const qsizetype kept = std::max<qsizetype>(width, 1) - 1;
    if (text_width(text) <= kept + 1) {
        return text;
    }
    const std::u32string points = text.toStdU32String();
    std::size_t head = 0;
    for (qsizetype left = kept - kept / 2; character_width(points[head]) <= left; ++head) {
        left -= character_width(points[head]);
    }
    std::size_t tail = points.size();
    for (qsizetype left = kept / 2; character_width(points[tail - 1]) <= left; --tail) {
        left -= character_width(points[tail - 1]);
    }
    // A mark belongs to the letter before it.
    while (tail < points.size() && is_combining(points[tail])) {
        ++tail;
    }
    return QString::fromStdU32String(points.substr(0, head) + U'…' + points.substr(tail));
}

QStringList wrapped(const QString& text, qsizetype width)
{
    QStringList lines{QString()};
    for (const QString& word : text.split(u' ', Qt::SkipEmptyParts)) {
        QString& line = lines.last();
        if (!line.isEmpty() && text_width(line) + 1 + text_width(word) > width) {
            lines.append(word);
        } else {
            line += line.isEmpty() ? word : u' ' + word;
        }
    }
    return lines;
}

QString duration_text(qint64 seconds)
{
    const auto two_digits = [](qint64 number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    const qint64 minutes = seconds / 60;
    const QString seconds_text = QLatin1Char(':') + two_digits(seconds % 60);
    if (minutes < 60) {
        return QString::number(minutes) + seconds_text;
    }
    return QString::number(minutes / 60) + QLatin1Char(':') + two_digits(minutes % 60) + seconds_text;
}
