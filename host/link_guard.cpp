#include "host/link_guard.h"

#include "host/copy_walk.h"
#include "host/display_text.h"
#include "host/source_tree.h"

std::vector<link_problem> find_link_problems(const QByteArray& source_root,
                                             const std::vector<QByteArray>& mail_directories)
{
    copy_walk walk(source_root);
    for (const QByteArray& mail_directory : mail_directories) {
        const QByteArray library = mail_directory.left(mail_directory.lastIndexOf('/'));
        for (const char* store : {"Accounts4.sqlite", "Accounts3.sqlite"})
            for (const char* companion : {"", "-wal", "-shm"})
                walk.follow_way(child_path(library, QByteArray("Accounts/") + store + companion));
        walk.walk_mail_directory(mail_directory);
    }
    return walk.problems();
}

QString link_problem_text(const link_problem& problem)
{
    const QString wrong = problem.kind == link_problem_kind::cycle ? QStringLiteral("which leads round in a circle")
                                                                   : QStringLiteral("which lies outside the source");
    return QStringLiteral("%1 -> %2, %3").arg(display_text(problem.path), display_text(problem.target), wrong);
}
