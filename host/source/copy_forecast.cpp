#include "host/source/copy_forecast.h"

#include "host/files/file_tree.h"
#include "host/source/account_stores.h"
#include "host/source/copy_walk.h"

copy_forecast forecast_copies(const QByteArray& source_root, const std::vector<QByteArray>& mail_directories)
{
    copy_forecast forecast;
    copy_walk walk(source_root);
    copy_walk::amount trees;
    copy_walk::amount accounts;
    for (const QByteArray& mail_directory : mail_directories) {
        const QByteArray library = mail_directory.left(mail_directory.lastIndexOf('/'));
        for (const char* store : account_store_names) {
            const QByteArray path = child_path(library, QByteArray("Accounts/") + store);
            walk.follow_way(path);
            for (const char* companion : copied_store_companions) {
                walk.follow_way(path + companion);
            }
        }
        const copy_walk::extent extent = walk.walk_mail_directory(mail_directory);
        trees += extent.tree;
        accounts += extent.accounts;
        forecast.trees.push_back(extent.tree);
        copy_walk::amount both = extent.tree;
        both += extent.accounts;
        forecast.copies.push_back({both.files, both.bytes});
    }
    forecast.room_of_trees = trees.room;
    forecast.room_of_accounts = accounts.room;
    forecast.link_problems = walk.problems();
    forecast.unread = walk.unread();
    return forecast;
}
