#include "host/source/source_users.h"

#include "host/files/file_tree.h"
#include "host/source/folder_names.h"
#include "host/text/utf8.h"

#include <QFile>

#include <algorithm>

namespace {

/// Digits of any length compare as numbers this way, provided that there are no leading zeros.
bool is_newer(const QString& version, const QString& other)
{
    return version.size() != other.size() ? version.size() > other.size() : version > other;
}

/// The plug-in looks for "V3" to "V9" by itself.
QStringList newer_mail_versions(const QByteArray& mail_directory)
{
    QStringList versions;
    for (const named_entry& entry : quiet_list(mail_directory).entries) {
        const bool has_number_above_9 = is_version_name(entry.name) && entry.name.size() > 2 && entry.name[1] != '0';
        if (has_number_above_9 && is_directory(child_path(mail_directory, entry.name))) {
            versions.append(QString::fromLatin1(entry.name));
        }
    }
    std::sort(versions.begin(), versions.end(), is_newer);
    return versions;
}

} // namespace

std::vector<QByteArray> find_users(const QByteArray& source)
{
    const QByteArray users_directory = child_path(source, "Users");
    std::vector<QByteArray> names;
    for (const named_entry& entry : quiet_list(users_directory).entries) {
        if (!entry.facts.hidden && entry.name != "Shared" && is_directory(child_path(users_directory, entry.name))) {
            names.push_back(entry.name);
        }
    }
    return names;
}

QByteArray mail_directory_of(const QByteArray& user)
{
    return "Users/" + user + "/Library/Mail";
}

std::vector<QByteArray> mail_directories_of(const QByteArray& source, const std::vector<QByteArray>& users)
{
    std::vector<QByteArray> directories;
    directories.reserve(users.size());
    for (const QByteArray& user : users) {
        directories.push_back(child_path(source, mail_directory_of(user)));
    }
    return directories;
}

QList<source_user> list_source_users(const QByteArray& source)
{
    QList<source_user> found;
    for (const QByteArray& name : find_users(source)) {
        const QByteArray mail_directory = child_path(source, mail_directory_of(name));
        found.append({QFile::decodeName(name),
                      is_utf8(name),
                      is_directory(mail_directory),
                      newer_mail_versions(mail_directory),
                      {}});
    }
    return found;
}
