#include "support/plugin_static_function.h"

#include <QDateTime>
#include <QRegularExpression>

#include <optional>

namespace {

constexpr qint64 seconds_from_1970_to_2001 = 978307200;
constexpr qint64 seconds_from_1601_to_1970 = 11644473600;
constexpr qint64 microseconds_per_second = 1'000'000;

/// Reads a text as UTC, month names in English; returns whole seconds since 1970, nothing when it does not fit.
std::optional<qint64> utc_seconds(const QString& text, const QString& format)
{
    // Read as local time first, an hour that the machine's zone skips in spring would be refused or moved.
    const QDateTime result = QDateTime::fromString(text + QStringLiteral(" UTC"), format + QStringLiteral(" t"));
    return result.isValid() ? std::optional(result.toMSecsSinceEpoch() / 1000) : std::nullopt;
}

/// As utc_seconds(), with the 0 that an invalid date-time in UTC has.
qint64 utc_seconds_or_zero(const QString& text, const QString& format)
{
    return utc_seconds(text, format).value_or(0);
}

} // namespace

QString plugin_static_function::convert_apple_time_to_epoch(QString apple_time)
{
    const QString seconds = apple_time.trimmed();
    if (seconds.isEmpty() || seconds == QLatin1String("0")) {
        return {};
    }
    return QString::number(seconds.section(u'.', 0, 0).toInt() + seconds_from_1970_to_2001);
}

QString plugin_static_function::convert_google_time_to_epoch(QString google_time)
{
    if (google_time.isEmpty() || google_time == QLatin1String("0")) {
        return {};
    }
    // As many digits as Unix seconds have had since 2001.
    if (google_time.size() == 10) {
        return google_time;
    }
    const auto microseconds = static_cast<qint64>(google_time.toULongLong());
    return QString::number(microseconds / microseconds_per_second - seconds_from_1601_to_1970);
}

QString plugin_static_function::convert_human_readable_to_epoch_1(QString human_time)
{
    QString text = human_time.trimmed();
    QString zone;
    for (const QString& marker : {QStringLiteral(" AM "), QStringLiteral(" PM ")}) {
        if (text.contains(marker)) {
            zone = text.section(marker, 1, 1).trimmed();
            text = text.left(text.lastIndexOf(marker) + marker.size()).trimmed();
            break;
        }
    }

    const QString format = QStringLiteral("MMM d, yyyy, h:mm:ss AP");
    return QString::number(zone == QLatin1String("UTC")
                               ? utc_seconds_or_zero(text, format)
                               : QDateTime::fromString(text, format).toMSecsSinceEpoch() / 1000);
}

QString plugin_static_function::convert_human_readable_to_epoch_2(QString human_time)
{
    QString text = human_time;
    // Without a fraction the last character goes, as with every text that is cut at something it does not hold.
    const qsizetype dot = text.indexOf(u'.');
    text.truncate(dot >= 0 ? dot : text.size() - 1);
    text = text.trimmed();
    if (text.isEmpty() || text == QLatin1String("0")) {
        return {};
    }

    qsizetype sign = text.lastIndexOf(u'+');
    if (sign < 0) {
        sign = text.lastIndexOf(u'-');
    }
    if (sign < 0) {
        return {};
    }
    const qint64 offset = convert_timezone_to_seconds(text.mid(sign + 1));
    const qint64 seconds = utc_seconds_or_zero(text, QStringLiteral("yyyy-MM-dd hh:mm:ss"));
    return QString::number(human_time.contains(u'+') ? seconds - offset : seconds + offset);
}

QString plugin_static_function::convert_human_readable_to_epoch_3(QString human_time)
{
    QString text = human_time.trimmed();
    if (text.isEmpty() || text == QLatin1String("0")) {
        return {};
    }
    text.remove(0, text.indexOf(u',') + 1);
    text.truncate(text.lastIndexOf(u' '));
    return QString::number(utc_seconds_or_zero(text.trimmed(), QStringLiteral("dd MMM yyyy hh:mm:ss")));
}

QString plugin_static_function::convert_T_Z_time_to_epoch(QString iso_time)
{
    static const QRegularExpression separator(QStringLiteral("[T ]"));
    static const QRegularExpression zone(QStringLiteral("(Z|[+-]\\d\\d:?\\d\\d)$"));
    static const QRegularExpression fraction(QStringLiteral("(\\.\\d{3})\\d*$"));

    const QString text = iso_time.trimmed();
    const qsizetype cut = text.indexOf(separator);
    const QString date = text.left(cut);
    const bool compact = !date.contains(u'-');

    std::optional<qint64> seconds;
    if (cut >= 0) {
        QString time = text.mid(cut + 1).remove(zone).trimmed().replace(u'-', u':');
        QString format = compact ? QStringLiteral("yyyyMMdd hhmmss") : QStringLiteral("yyyy-MM-dd hh:mm:ss");
        if (!compact && time.contains(u'.')) {
            time.append(QStringLiteral("00")).replace(fraction, QStringLiteral("\\1"));
            format += QStringLiteral(".zzz");
        }
        seconds = utc_seconds(date + u' ' + time, format);
    } else if (compact) {
        seconds = utc_seconds(date, QStringLiteral("yyyyMMdd"));
    }
    return seconds ? QString::number(*seconds) : QString();
}

qint64 plugin_static_function::convert_timezone_to_seconds(QString zone)
{
    const qint64 hours = zone.left(2).toInt();
    const qint64 minutes = zone.mid(2).toInt();
    return (hours * 60 + minutes) * 60;
}
