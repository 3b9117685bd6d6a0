#include "host/source_users.h"

#include "host/folder_names.h"
#include "host/survey.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

/// Digits of any length compare as numbers this way, provided that there are no leading zeros.
bool is_newer(const QString& version, const QString& other)
{
    return version.size() != other.size() ? version.size() > other.size() : version > other;
}

/// The plug-in looks for "V3" to "V9" by itself.
QStringList newer_mail_versions(const QString& mail_directory)
{
    QStringList versions = QDir(mail_directory).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Unsorted);
    erase_if(versions, [](const QString& name) {
        return !is_version_name(name.toUtf8()) || name.size() < 3 || name[1] == QLatin1Char('0');
    });
    std::sort(versions.begin(), versions.end(), is_newer);
    return versions;
}

} // namespace

QList<source_user> list_source_users(const QString& source_root)
{
    const QDir users(QDir(source_root).filePath(QStringLiteral("Users")));
    QList<source_user> found;
    for (const QByteArray& raw_name : find_users(QFile::encodeName(source_root))) {
        const QString name = QFile::decodeName(raw_name);
        const QString mail_directory = users.filePath(name + QStringLiteral("/Library/Mail"));
        source_user& user = found.emplaceBack();
        user.name = name;
        user.is_reachable = QFile::encodeName(name) == raw_name;
        if (QFileInfo(mail_directory).isDir()) {
            user.mail_directory = mail_directory;
            user.newer_mail_versions = newer_mail_versions(mail_directory);
        }
    }
    return found;
}
