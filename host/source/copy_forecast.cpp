#include "host/source/copy_forecast.h"

#include "host/files/file_tree.h"
#include "host/files/sqlite_companions.h"
#include "host/source/account_stores.h"
#include "host/source/copy_walk.h"
#include "host/source/folder_names.h"
#include "host/source/system_version.h"

#include <algorithm>

namespace {

copy_walk::amount amount_of_witness(const QByteArray& path)
{
    const entry_facts facts = quiet_stat(path, link_handling::follow);
    return facts.kind == entry_kind::file ? copy_walk::amount_of_file(facts.size) : copy_walk::amount();
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
        copy_walk::amount whole = amount_of_witness(path);
        for (const char* companion : sqlite_companions) {
            whole += amount_of_witness(path + companion);
        }
        forecast.kept += whole;
        largest = std::max(largest, whole.room);
    }
    // The program itself makes two copies, to read a store with its log and without.
    copy_walk::amount working_copies;
    for (qint64 copies = std::max(qint64(2), versions_in(mail_directory)); copies > 0; --copies) {
        working_copies += {{}, largest};
    }
    forecast.rooms_of_stores.push_back(working_copies.room);
}

} // namespace

copy_forecast forecast_copies(const QByteArray& source_root, const std::vector<QByteArray>& mail_directories,
                              const directory_lister& list)
{
    copy_forecast forecast;
    copy_walk walk(source_root, list);
    copy_walk::amount trees;
    forecast.kept += amount_of_witness(child_path(source_root, system_version_path));
    for (const QByteArray& mail_directory : mail_directories) {
        forecast_stores(mail_directory, walk, forecast);
        const copy_walk::extent extent = walk.walk_mail_directory(mail_directory);
        trees += extent.tree;
        forecast.kept += extent.left_out;
        forecast.kept += extent.directories;
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
