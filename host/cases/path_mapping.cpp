#include "host/cases/path_mapping.h"

#include "host/terminal/command_failure.h"

#include <QDir>

namespace {

bool begins_with_directory(const QString& path, const QString& directory)
{
    return path == directory || directory == QLatin1String("/") || path.startsWith(directory + QLatin1Char('/'));
}

[[noreturn]] void refuse_mapping(const QString& reason)
{
    throw command_failure(exit_code::usage, reason);
}

path_mapping mapping_from(const QString& text)
{
    const qsizetype middle = text.indexOf(QLatin1Char('='));
    const path_mapping mapping{QDir::cleanPath(text.left(middle)), QDir::cleanPath(text.mid(middle + 1))};
    if (middle < 0 || !QDir::isAbsolutePath(mapping.from) || !QDir::isAbsolutePath(mapping.to)) {
        refuse_mapping(QStringLiteral("\"%1\" is no mapping FROM=TO of two absolute paths").arg(text));
    }
    // What stands for bytes that are no UTF-8 would fit no source, in silence.
    if (text.contains(QChar::ReplacementCharacter)) {
        refuse_mapping(QStringLiteral("the mapping \"%1\" is not UTF-8").arg(text));
    }
    return mapping;
}

QList<path_mapping> mappings_from(const QStringList& texts)
{
    QList<path_mapping> mappings;
    for (const QString& text : texts) {
        const path_mapping mapping = mapping_from(text);
        for (const path_mapping& other : mappings) {
            if (other.from == mapping.from && other.to != mapping.to) {
                refuse_mapping(QStringLiteral("%1 is mapped to %2 and to %3").arg(mapping.from, other.to, mapping.to));
            }
        }
        mappings.append(mapping);
    }
    return mappings;
}

} // namespace

QList<path_mapping> read_mappings(const QStringList& given)
{
    return mappings_from(given) +
           mappings_from(qEnvironmentVariable("MAIL_EXTRACT_MAP").split(QLatin1Char(';'), Qt::SkipEmptyParts));
}

QString path_on_this_machine(const QString& case_root, const QString& source, const QList<path_mapping>& mappings)
{
    const QString path = QDir::cleanPath(QDir(case_root).absoluteFilePath(source));
    const path_mapping* longest = nullptr;
    for (const path_mapping& mapping : mappings) {
        if (begins_with_directory(path, mapping.from) && (!longest || mapping.from.size() > longest->from.size())) {
            longest = &mapping;
        }
    }
    if (!longest) {
        return path;
    }
    const QString below = longest->from == QLatin1String("/") ? path : path.mid(longest->from.size());
    return QDir::cleanPath(longest->to + below);
}
