#include "host/text/text_layout.h"

#include <algorithm>
#include <numeric>
#include <string>

namespace {

bool is_mark(char32_t point)
{
    const QChar::Category category = QChar::category(point);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing;
}

qsizetype columns_of(char32_t point)
{
    return is_mark(point) ? 0 : 1;
}

} // namespace

qsizetype text_width(const QString& text)
{
    const std::u32string points = text.toStdU32String();
    return std::accumulate(points.begin(), points.end(), qsizetype(0),
                           [](qsizetype sum, char32_t point) { return sum + columns_of(point); });
}

QString shortened_in_middle(const QString& text, qsizetype width)
{
    const qsizetype kept = std::max<qsizetype>(width, 1) - 1;
    if (text_width(text) <= kept + 1) {
        return text;
    }
    const std::u32string points = text.toStdU32String();
    std::size_t head = 0;
    for (qsizetype left = kept - kept / 2; columns_of(points[head]) <= left; ++head) {
        left -= columns_of(points[head]);
    }
    std::size_t tail = points.size();
    for (qsizetype left = kept / 2; columns_of(points[tail - 1]) <= left; --tail) {
        left -= columns_of(points[tail - 1]);
    }
    // A mark belongs to the letter before it.
    while (tail < points.size() && is_mark(points[tail])) {
        ++tail;
    }
    return QString::fromStdU32String(points.substr(0, head) + U'…' + points.substr(tail));
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
