#include "host/source/source_users.h"

#include "host/files/file_tree.h"
#include "host/source/account_stores.h"
#include "host/source/folder_names.h"
#include "host/text/utf8.h"

#include <algorithm>
#include <utility>

namespace {

/// Digits of any length compare as numbers this way, provided that there are no leading zeros.
bool is_newer(const QString& version, const QString& other)
{
    return version.size() != other.size() ? version.size() > other.size() : version > other;
}

/// The plug-in looks for "V3" to "V9" by itself.
QStringList newer_mail_versions(const QByteArray& source, const QByteArray& mail_directory,
                                const directory_listing& listing, std::vector<blocked_look>& blocked)
{
    QStringList versions;
    for (const named_entry& entry : listing.entries) {
        const bool has_number_above_9 = is_version_name(entry.name) && entry.name.size() > 2 && entry.name[1] != '0';
        if (!has_number_above_9) {
            continue;
        }
        const QByteArray path = child_path(mail_directory, entry.name);
        const entry_facts facts = quiet_stat(child_path(source, path), link_handling::follow);
        if (facts.kind == entry_kind::unknown) {
            blocked.push_back({path, facts.error, facts.error_number});
        } else if (facts.kind == entry_kind::directory) {
            versions.append(QString::fromLatin1(entry.name));
        }
    }
    std::sort(versions.begin(), versions.end(), is_newer);
    return versions;
}

/// True for an entry of "Users" that is, or may be, a user's home.
bool may_be_user(const QByteArray& users_directory, const named_entry& entry)
{
    if (entry.facts.hidden || entry.name == "Shared") {
        return false;
    }
    const entry_kind kind = quiet_stat(child_path(users_directory, entry.name), link_handling::follow).kind;
    return kind == entry_kind::directory || kind == entry_kind::unknown;
}

void look_for_mail(source_user& user, const QByteArray& source, const QByteArray& mail_directory)
{
    const directory_look look = look_for_directory(source, mail_directory);
    user.mail_directory = look.found;
    if (look.blocked) {
        user.blocked.push_back(*look.blocked);
    }
    if (look.found != presence::present) {
        return;
    }
    const directory_listing listing = quiet_list(child_path(source, mail_directory));
    user.newer_mail_versions = newer_mail_versions(source, mail_directory, listing, user.blocked);
    if (!listing.error.isEmpty()) {
        user.blocked.push_back({mail_directory, listing.error, listing.error_number});
    }
}

void look_for_stores(source_user& user, const QByteArray& source, const QByteArray& folder)
{
    const account_store_look look = look_for_account_stores(source, folder);
    const bool is_said = !user.blocked.empty() && look.blocked && user.blocked.front().path == look.blocked->path;
    if (look.blocked && !is_said) {
        user.blocked.push_back(*look.blocked);
    }
    for (const account_store& store : look.stores) {
        if (!store.problem.isEmpty()) {
            user.blocked.push_back({child_path(folder, store.name), store.problem, store.error_number});
        }
    }
}

} // namespace

user_names find_users(const QByteArray& source)
{
    user_names found;
    const directory_look look = look_for_directory(source, "Users");
    if (look.found != presence::present) {
        found.blocked = look.blocked;
        return found;
    }
    const QByteArray users_directory = child_path(source, "Users");
    const directory_listing listing = quiet_list(users_directory);
    for (const named_entry& entry : listing.entries) {
        if (may_be_user(users_directory, entry)) {
            found.names.push_back(entry.name);
        }
    }
    if (!listing.error.isEmpty()) {
        found.blocked = blocked_look{"Users", listing.error, listing.error_number};
    }
    return found;
}

QByteArray mail_directory_of(const QByteArray& user)
{
    return "Users/" + user + "/Library/Mail";
}

QByteArray account_folder_of(const QByteArray& user)
{
    return "Users/" + user + '/' + accounts_directory;
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

source_user look_at_user(const QByteArray& source, const QByteArray& name)
{
    source_user user;
    user.name = decoded_name(name);
    user.is_reachable = is_utf8(name);
    look_for_mail(user, source, mail_directory_of(name));
    look_for_stores(user, source, account_folder_of(name));
    return user;
}

source_users list_source_users(const QByteArray& source)
{
    source_users found;
    user_names names = find_users(source);
    found.blocked = std::move(names.blocked);
    for (const QByteArray& name : names.names) {
        found.users.append(look_at_user(source, name));
    }
    return found;
}
