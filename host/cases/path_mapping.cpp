#include "host/cases/path_mapping.h"

#include "host/terminal/command_failure.h"

#include <QDir>

namespace {

bool begins_with_directory(const QString& path, const QString& directory)
{
    return path == directory || directory == QLatin1String("/") || path.startsWith(directory + QLatin1Char('/'));
}

} // namespace

QList<path_mapping> read_mappings(const QStringList& given)
{
    const QStringList texts = given + qEnvironmentVariable("MAIL_EXTRACT_MAP").split(QLatin1Char(';'));
    QList<path_mapping> mappings;
    for (const QString& text : texts) {
        if (text.isEmpty()) {
            continue;
        }
        const qsizetype middle = text.indexOf(QLatin1Char('='));
        const path_mapping mapping{QDir::cleanPath(text.left(middle)), QDir::cleanPath(text.mid(middle + 1))};
        if (middle < 0 || !QDir::isAbsolutePath(mapping.from) || !QDir::isAbsolutePath(mapping.to)) {
            throw command_failure(exit_code::usage,
                                  QStringLiteral("\"%1\" is no mapping FROM=TO of two absolute paths").arg(text));
        }
        mappings.append(mapping);
    }
    return mappings;
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
