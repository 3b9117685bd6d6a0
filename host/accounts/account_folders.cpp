#include "host/accounts/account_folders.h"

#include "host/files/all_cores.h"
#include "host/files/file_tree.h"
#include "host/files/property_list.h"
#include "host/source/folder_names.h"
#include "host/source/source_users.h"
#include "host/text/display_text.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>

namespace {

constexpr qint64 largest_property_list = 1 << 16;

struct folder_prefix
{
    const char* prefix;
    const char* type;
};

// The longer one of two that begin alike comes first.
constexpr std::array<folder_prefix, 7> prefixes{{{"AosIMAP-", "iCloud"},
                                                 {"EWS-", "Exchange"},
                                                 {"Exchange-", "Exchange"},
                                                 {"IMAP-", "IMAP"},
                                                 {"POP-", "POP"},
                                                 {"IMAP", "IMAP"},
                                                 {"POP", "POP"}}};

void add_problem(const QByteArray& path, const QString& reason, QStringList& problems)
{
    problems.append(QStringLiteral("%1: %2").arg(display_text(path), reason));
}

QString live_version(const QByteArray& mail_directory, const content_place& copy_of, QStringList& problems)
{
    const QByteArray path = child_path(mail_directory, "PersistenceInfo.plist");
    quiet_data list;
    read_content(path, quiet_stat(path), copy_of, [&list](const quiet_file& file) {
        list = quiet_read(file, largest_property_list);
        return list.error.isEmpty();
    });
    if (list.error_number != 0 && list.error_number != ENOENT) {
        add_problem(path, list.error, problems);
    }
    const QString key = QStringLiteral("LastUsedVersionDirectoryName");
    return list.error.isEmpty() ? property_list_string(list.data, key).value : QString();
}

/// Fills in what the name tells; false for a folder that is no account's.
bool take_name(const QByteArray& name, account_folder_found& folder)
{
    folder.name = display_text(name);
    folder.holds_quote = name.contains('\'');
    if (naming_of(name) == folder_naming::identifier) {
        folder.identifier = QString::fromLatin1(name.toUpper());
        return true;
    }
    if (name == "Mailboxes") {
        folder.type = QStringLiteral("local");
        return true;
    }
    for (const folder_prefix& known : prefixes) {
        if (!name.startsWith(known.prefix)) {
            continue;
        }
        const QByteArray rest = name.mid(qsizetype(qstrlen(known.prefix)));
        const qsizetype at = rest.lastIndexOf('@');
        folder.type = QLatin1String(known.type);
        folder.login = display_text(at < 0 ? rest : rest.left(at));
        folder.server = at < 0 ? QString() : display_text(rest.mid(at + 1));
        return true;
    }
    return false;
}

void measure(const QByteArray& path, const folder_extents* known, account_place& place)
{
    folder_extent extent;
    if (const folder_extent* found = known == nullptr ? nullptr : known->find(path)) {
        extent = *found;
    } else {
        walk_tree(path, [&extent](const tree_entry& entry) {
            extent.add(entry);
            return true;
        });
    }
    place.amount = extent.amount;
    place.problem = extent.problem;
}

int version_number(const QString& name)
{
    return name.mid(1).toInt();
}

} // namespace

std::vector<account_folder_found> find_account_folders(const QByteArray& source, const QByteArray& user,
                                                       const content_place& copy_of, const folder_extents* extents,
                                                       QStringList& problems)
{
    std::vector<account_folder_found> found;
    std::vector<QByteArray> paths; // of those found
    const QByteArray mail = child_path(source, mail_directory_of(user));
    const directory_listing versions = quiet_list(mail);
    if (!versions.error.isEmpty() && quiet_stat(mail).kind != entry_kind::absent) {
        add_problem(mail, versions.error, problems);
    }
    const QString live = live_version(mail, copy_of, problems);
    for (const named_entry& version : versions.entries) {
        const QByteArray directory = child_path(mail, version.name);
        if (!version.facts.error.isEmpty()) {
            add_problem(directory, version.facts.error, problems);
        }
        if (!is_version_name(version.name) || version.facts.kind != entry_kind::directory) {
            continue;
        }
        const directory_listing folders = quiet_list(directory);
        if (!folders.error.isEmpty()) {
            add_problem(directory, folders.error, problems);
        }
        for (const named_entry& entry : folders.entries) {
            account_folder_found folder;
            if (!entry.facts.error.isEmpty()) {
                add_problem(child_path(directory, entry.name), entry.facts.error, problems);
            }
            if (entry.facts.kind != entry_kind::directory) {
                continue;
            }
            folder.is_account = take_name(entry.name, folder);
            folder.place.mail_version = QString::fromLatin1(version.name);
            if (!live.isEmpty()) {
                folder.place.live = live == folder.place.mail_version;
            }
            folder.place.path = display_text(child_path(child_path(mail_directory_of(user), version.name), entry.name));
            found.push_back(std::move(folder));
            paths.push_back(child_path(directory, entry.name));
        }
    }
    for_each_on_all_cores(
        found.size(), [&](std::size_t at) { measure(paths[at], extents, found[at].place); }, 1);
    for (const account_folder_found& folder : found) {
        if (!folder.place.problem.isEmpty()) {
            problems.append(folder.place.problem);
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const account_folder_found& left, const account_folder_found& right) {
                         return version_number(left.place.mail_version) < version_number(right.place.mail_version);
                     });
    return found;
}
