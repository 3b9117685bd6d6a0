#include "host/source/copy_forecast.h"

#include "host/source/copy_walk.h"
#include "host/text/display_text.h"
#include "host/files/file_tree.h"

copy_forecast forecast_copies(const QByteArray& source_root, const std::vector<QByteArray>& mail_directories)
{
    copy_forecast forecast;
    copy_walk walk(source_root);
    copy_walk::amount trees;
    copy_walk::amount accounts;
    for (const QByteArray& mail_directory : mail_directories) {
        const QByteArray library = mail_directory.left(mail_directory.lastIndexOf('/'));
        for (const char* store : {"Accounts4.sqlite", "Accounts3.sqlite"}) {
            for (const char* companion : {"", "-wal", "-shm"}) {
                walk.follow_way(child_path(library, QByteArray("Accounts/") + store + companion));
            }
        }
        const copy_walk::extent extent = walk.walk_mail_directory(mail_directory);
        trees += extent.tree;
        accounts += extent.accounts;
        copy_walk::amount both = extent.tree;
        both += extent.accounts;
        forecast.copies.push_back({both.files, both.bytes});
    }
    forecast.room_of_trees = trees.room;
    forecast.room_of_accounts = accounts.room;
    forecast.link_problems = walk.problems();
    return forecast;
}

QString link_problem_text(const link_problem& problem)
{
    const QString wrong = problem.kind == link_problem_kind::cycle ? QStringLiteral("which leads round in a circle")
                                                                   : QStringLiteral("which lies outside the source");
    return QStringLiteral("%1 -> %2, %3").arg(display_text(problem.path), display_text(problem.target), wrong);
}
