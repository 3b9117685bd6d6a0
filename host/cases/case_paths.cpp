#include "host/cases/case_paths.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

namespace {

// Leaves room for what is added to a name, within the 255 bytes of common file systems.
constexpr qsizetype longest_part = 60;

/// A part of a file name that means the same on every file system.
QString plain_part(const QString& text)
{
    static const QRegularExpression others(QStringLiteral("[^A-Za-z0-9._]+"));
    return QString(text).replace(others, QStringLiteral("-")).left(longest_part);
}

} // namespace

case_paths::case_paths(const QString& path) : directory(QDir::cleanPath(QFileInfo(path).absoluteFilePath())) {}

QString source_directory_name(int index, const QString& evidence_number)
{
    const QString number = QStringLiteral("%1").arg(index, 4, 10, QLatin1Char('0'));
    return evidence_number.isEmpty() ? number : number + QLatin1Char('-') + plain_part(evidence_number);
}

std::optional<int> index_of_source_directory(const QString& name)
{
    static const QRegularExpression form(QStringLiteral("^([0-9]{4,10})(-.*)?\\z"));
    const QRegularExpressionMatch match = form.match(name);
    bool fits = false;
    const int index = match.captured(1).toInt(&fits);
    return fits ? std::optional(index) : std::nullopt;
}

QString attempt_name(qint64 generation, const QString& node)
{
    return QStringLiteral("attempt-%1-%2").arg(generation).arg(plain_part(node));
}

std::optional<qint64> generation_of_attempt(const QString& name)
{
    static const QRegularExpression form(QStringLiteral("^attempt-([0-9]{1,15})-[A-Za-z0-9._-]*\\z"));
    const QRegularExpressionMatch match = form.match(name);
    return match.hasMatch() ? std::optional(match.captured(1).toLongLong()) : std::nullopt;
}
