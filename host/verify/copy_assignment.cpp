#include "host/verify/copy_assignment.h"

#include "host/files/file_tree.h"
#include "host/result/dated_folders.h"
#include "host/source/source_users.h"
#include "host/text/utf8.h"

#include <QFile>

copy_assignment assign_copies(const QByteArray& source, const result_paths& result, const QStringList& users_of_run,
                              bool unnamed_users)
{
    auto folders = find_dated_folders(result);
    for (const QString& user : users_of_run) {
        folders.try_emplace(QFile::encodeName(user));
    }
    copy_assignment assignment;
    if (unnamed_users) {
        const user_names found = find_users(source);
        for (const QByteArray& user : found.names) {
            if (!is_utf8(user)) {
                folders.try_emplace(user);
            }
        }
        if (found.blocked) {
            assignment.problems += found.blocked->text();
        }
    }

    for (const auto& [user, of_user] : folders) {
        assignment.users.push_back({user, of_user.empty() ? QByteArray() : of_user.front().path});
        for (std::size_t i = 1; i < of_user.size(); ++i) {
            assignment.notes += QStringLiteral("%1: not verified, since %2 is a newer copy")
                                    .arg(manifest_text(of_user[i].path), manifest_text(of_user.front().path));
        }
    }
    return assignment;
}
