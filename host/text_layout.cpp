#include "host/text_layout.h"

#include <algorithm>
#include <string>

qsizetype text_width(const QString& text)
{
    const auto low_surrogates =
        std::count_if(text.begin(), text.end(), [](QChar unit) { return unit.isLowSurrogate(); });
    return text.size() - low_surrogates;
}

QString shortened_in_middle(const QString& text, qsizetype width)
{
    const std::u32string points = text.toStdU32String();
    const auto room = static_cast<size_t>(std::max<qsizetype>(width, 1));
    if (points.size() <= room) {
        return text;
    }
    const size_t kept = room - 1;
    const size_t tail = kept / 2;
    return QString::fromStdU32String(points.substr(0, kept - tail) + U'…' + points.substr(points.size() - tail));
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
