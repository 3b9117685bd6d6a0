#include "support/plugin_static_function.h"

#include <QDateTime>
#include <QDirIterator>
#include <QFileInfo>
#include <QLocale>
#include <QTimeZone>

#include <optional>

namespace {

constexpr quint64 bytes_per_kilobyte = 1024;
constexpr quint64 bytes_per_megabyte = 1024 * bytes_per_kilobyte;

QString two_digits(int number)
{
    return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0'));
}

QString in_units(quint64 bytes, quint64 unit)
{
    return QString::number(static_cast<double>(bytes) / static_cast<double>(unit), 'f', 2);
}

/// Returns the sizes of the files below a directory, links not counted; nothing when cancelled.
std::optional<qint64> size_of_files_below(const QString& directory)
{
    qint64 sum = 0;
    QDirIterator entries(directory, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        if (plugin_static_function::bool_cancel_extraction) {
            return std::nullopt;
        }
        entries.next();
        const QFileInfo entry = entries.fileInfo();
        if (!entry.isSymLink() && !entry.isDir()) {
            sum += entry.size();
        }
    }
    return sum;
}

} // namespace

QString plugin_static_function::convert_timestamp_to_human_readable_in_UTC(QString unix_time)
{
    const int seconds = unix_time.trimmed().section(u'.', 0, 0).toInt();
    if (seconds == 0) {
        return {};
    }
    return QLocale::c().toString(QDateTime::fromSecsSinceEpoch(seconds, QTimeZone::utc()),
                                 QStringLiteral("dd-MMM-yyyy hh:mm:ss"));
}

QString plugin_static_function::get_human_readable_time(QString seconds)
{
    const QString text = seconds.trimmed();
    const int duration = text.section(u'.', 0, 0).toInt();
    if (text.isEmpty() || duration < 0) {
        return {};
    }
    const QString minutes_and_seconds = two_digits(duration % 3600 / 60) + u':' + two_digits(duration % 60);
    if (duration < 3600) {
        return minutes_and_seconds + QStringLiteral(" Min");
    }
    return two_digits(duration / 3600) + u':' + minutes_and_seconds + QStringLiteral(" Hrs");
}

QString plugin_static_function::human_readable_size(QString bytes)
{
    const QString text = bytes.trimmed();
    if (text.isEmpty()) {
        return {};
    }
    const quint64 size = text.toULongLong();
    if (size < bytes_per_kilobyte) {
        return QString::number(size) + QStringLiteral(" B");
    }
    if (size < bytes_per_megabyte) {
        return in_units(size, bytes_per_kilobyte) + QStringLiteral(" KB");
    }
    return in_units(size, bytes_per_megabyte) + QStringLiteral(" MB");
}

QString plugin_static_function::mining_suffix(QString path)
{
    QString name = QFileInfo(path.trimmed()).fileName();
    if (name.startsWith(u'.')) {
        name.remove(0, 1);
    }
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot < 0 ? QString() : name.mid(dot + 1);
}

QString plugin_static_function::mining_size(QString path)
{
    const QFileInfo entry(path);
    if (!entry.exists()) {
        return {};
    }
    if (!entry.isDir()) {
        return QString::number(entry.size());
    }
    return QString::number(size_of_files_below(path).value_or(entry.size()));
}

QString plugin_static_function::convert_string_to_unicode(QString text)
{
    const QString escape = QStringLiteral("\\U");
    constexpr qsizetype most_digits = 4;

    QString decoded = text.trimmed();
    if (decoded.isEmpty()) {
        return {};
    }
    app_debug(QStringLiteral(" : running"), Q_FUNC_INFO);
    if (bool_cancel_extraction) {
        return {};
    }

    QStringList codes;
    for (qsizetype found = decoded.indexOf(escape); found >= 0; found = decoded.indexOf(escape, found + 1)) {
        codes += decoded.mid(found + escape.size(), most_digits);
        if (bool_cancel_extraction) {
            return {};
        }
    }
    app_debug(QStringLiteral(" : infinite loop cross"), Q_FUNC_INFO);

    QString characters;
    for (const QString& code : codes) {
        if (bool_cancel_extraction) {
            return {};
        }
        characters += QChar(code.toUShort(nullptr, 16));
    }
    for (qsizetype index = 0; index < codes.size(); ++index) {
        if (bool_cancel_extraction) {
            return {};
        }
        decoded.replace(escape + codes[index], QString(characters[index]));
    }
    return decoded;
}
