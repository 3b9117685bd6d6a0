#include "host/row_check/store_pairs.h"

#include "host/files/file_tree.h"
#include "host/source/account_stores.h"
#include "host/text/display_text.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <map>
#include <utility>

namespace {

constexpr std::array both_versions{"V9", "V8"};
constexpr std::array first_versions{"V7", "V6", "V5", "V4", "V3"};

/// What the plug-in finds for some users: two lists that are not in step.
struct found_sources
{
    struct version_directory
    {
        QByteArray user;
        QByteArray path;
    };
    struct store_file
    {
        QByteArray user;
        QByteArray name;
    };
    std::vector<version_directory> versions;
    std::vector<store_file> stores;
};

/// To the plug-in what cannot be looked at is not there.
bool exists(const QByteArray& source, const QByteArray& path, QStringList& problems)
{
    const entry_facts facts = quiet_stat(child_path(source, path), link_handling::follow);
    if (facts.kind == entry_kind::unknown && !facts.error.isEmpty()) {
        problems.append(QStringLiteral("%1: cannot be looked at: %2").arg(display_text(path), facts.error));
    }
    return facts.error.isEmpty();
}

void find_sources(const row_check_request& request, const source_user& user, found_sources& found,
                  QStringList& problems)
{
    const QByteArray name = QFile::encodeName(user.name);
    const QByteArray mail = mail_directory_of(name);
    const auto add_if_there = [&](const QByteArray& version) {
        const QByteArray path = child_path(mail, version);
        const bool is_there = exists(request.source, path, problems);
        if (is_there) {
            found.versions.push_back({name, path});
        }
        return is_there;
    };
    if (!request.as_suite) {
        for (const QString& version : user.newer_mail_versions) {
            add_if_there(version.toLatin1());
        }
    }
    for (const char* version : both_versions) {
        add_if_there(version);
    }
    std::any_of(first_versions.begin(), first_versions.end(), add_if_there);
    const auto store = std::find_if(account_store_names.begin(), account_store_names.end(), [&](const char* file) {
        return exists(request.source, child_path(account_folder_of(name), file), problems);
    });
    if (store != account_store_names.end()) {
        found.stores.push_back({name, *store});
    }
}

/// The rows of a store, by its user and its name.
using rows_by_store = std::map<std::pair<QByteArray, QByteArray>, const account_store_rows*>;

rows_by_store rows_by_store_of(const row_check_request& request)
{
    rows_by_store rows;
    for (const account_store_rows& store : request.stores) {
        rows.emplace(std::pair(store.user, store.store), &store);
    }
    return rows;
}

/// By position, and where the stores have run out that of the same user.
void pair_up(const rows_by_store& rows_of, const found_sources& found, std::vector<store_pair>& pairs)
{
    std::map<QByteArray, const found_sources::store_file*> of_user;
    for (const found_sources::store_file& store : found.stores) {
        of_user.emplace(store.user, &store);
    }
    for (std::size_t i = 0; i < found.versions.size(); ++i) {
        const found_sources::version_directory& version = found.versions[i];
        const auto own = of_user.find(version.user);
        const found_sources::store_file* store = i < found.stores.size() ? &found.stores[i]
                                                 : own != of_user.end()  ? own->second
                                                                         : nullptr;
        const auto rows = store == nullptr ? rows_of.end() : rows_of.find(std::pair(store->user, store->name));
        if (rows != rows_of.end()) {
            pairs.push_back({version.user, version.path, rows->second});
        }
    }
}

} // namespace

std::vector<store_pair> pairs_of_stores(const row_check_request& request, QStringList& problems)
{
    const rows_by_store rows_of = rows_by_store_of(request);
    std::vector<store_pair> pairs;
    found_sources found;
    for (const source_user& user : request.users) {
        find_sources(request, user, found, problems);
        if (!request.as_suite) {
            pair_up(rows_of, found, pairs);
            found = {};
        }
    }
    pair_up(rows_of, found, pairs);
    return pairs;
}
