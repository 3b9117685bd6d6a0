#include "host/source/copy_forecast.h"

#include "host/files/file_tree.h"
#include "host/files/sqlite_companions.h"
#include "host/source/account_stores.h"
#include "host/source/copy_walk.h"
#include "host/source/folder_names.h"

#include <algorithm>

namespace {

qint64 room_of_file(const QByteArray& path)
{
    const entry_facts facts = quiet_stat(path, link_handling::follow);
    return copy_walk::amount_of_file(facts.kind == entry_kind::file ? facts.size : 0).room;
}

qint64 versions_in(const QByteArray& mail_directory)
{
    const kinds_listing listing = quiet_kinds(mail_directory);
    return std::count_if(listing.entries.begin(), listing.entries.end(),
                         [](const named_kind& entry) { return is_version_name(entry.name); });
}

/// Looks at the account stores of the user whose Mail directory it is: at the links on the way to them, and at what
/// they take.
void forecast_stores(const QByteArray& mail_directory, copy_walk& walk, copy_forecast& forecast)
{
    const QByteArray library = mail_directory.left(mail_directory.lastIndexOf('/'));
    qint64 largest = 0;
    for (const char* store : account_store_names) {
        const QByteArray path = child_path(library, QByteArray("Accounts/") + store);
        walk.follow_way(path);
        for (const char* companion : copied_store_companions) {
            walk.follow_way(path + companion);
        }
        qint64 room = room_of_file(path);
        for (const char* companion : sqlite_companions) {
            room += room_of_file(path + companion);
        }
        forecast.room_of_kept_files += room;
        largest = std::max(largest, room);
    }
    // The program itself makes two copies, to read a store with its log and without.
    forecast.rooms_of_stores.push_back(largest * std::max(qint64(2), versions_in(mail_directory)));
}

} // namespace

copy_forecast forecast_copies(const QByteArray& source_root, const std::vector<QByteArray>& mail_directories,
                              const directory_lister& list)
{
    copy_forecast forecast;
    copy_walk walk(source_root, list);
    copy_walk::amount trees;
    for (const QByteArray& mail_directory : mail_directories) {
        forecast_stores(mail_directory, walk, forecast);
        const copy_walk::extent extent = walk.walk_mail_directory(mail_directory);
        trees += extent.tree;
        forecast.room_of_kept_files += extent.left_out.room;
        forecast.rooms_of_accounts.push_back(extent.accounts.room);
        forecast.scratch_copies.push_back(extent.accounts);
        forecast.trees.push_back(extent.tree);
        copy_walk::amount both = extent.tree;
        both += extent.accounts;
        forecast.copies.push_back({both.files, both.bytes});
    }
    forecast.room_of_trees = trees.room;
    forecast.link_problems = walk.problems();
    forecast.unread = walk.unread();
    if (forecast.link_problems.empty() && forecast.unread.empty()) {
        forecast.files_of_accounts = walk.files_of_accounts();
    }
    return forecast;
}
