#include "host/result/dated_folders.h"

#include "host/result/result_paths.h"
#include "host/files/file_tree.h"
#include "host/source/source_users.h"
#include "host/text/utf8.h"

#include <QFile>

#include <algorithm>

namespace {

const QByteArray folder_prefix = "Apple_Mail_Extractor_";
constexpr qsizetype date_length = 10;

} // namespace

std::map<QByteArray, std::vector<dated_folder>> find_dated_folders(const QByteArray& result)
{
    std::map<QByteArray, std::vector<dated_folder>> folders;
    for (const named_entry& entry : quiet_list(child_path(result, copies_directory)).entries) {
        const qsizetype user_length = entry.name.size() - folder_prefix.size() - 1 - date_length;
        if (entry.facts.kind != entry_kind::directory || user_length < 1 || !entry.name.startsWith(folder_prefix)) {
            continue;
        }
        const QString date_text = QString::fromLatin1(entry.name.last(date_length));
        const QDate date = QDate::fromString(date_text, QStringLiteral("MM-dd-yyyy"));
        if (date.isValid() && entry.name[entry.name.size() - date_length - 1] == '_') {
            folders[entry.name.mid(folder_prefix.size(), user_length)].push_back(
                {date, child_path(copies_directory, entry.name)});
        }
    }
    for (auto& [user, of_user] : folders) {
        std::sort(of_user.begin(), of_user.end(),
                  [](const dated_folder& left, const dated_folder& right) { return left.date > right.date; });
    }
    return folders;
}

copy_assignment assign_copies(const QByteArray& source, const QByteArray& result, const QStringList& users_of_run,
                              bool unnamed_users)
{
    auto folders = find_dated_folders(result);
    for (const QString& user : users_of_run) {
        folders.try_emplace(QFile::encodeName(user));
    }
    if (unnamed_users) {
        for (const QByteArray& user : find_users(source)) {
            if (!is_utf8(user)) {
                folders.try_emplace(user);
            }
        }
    }

    copy_assignment assignment;
    for (const auto& [user, of_user] : folders) {
        if (quiet_stat(child_path(source, mail_directory_of(user)), link_handling::follow).kind == entry_kind::absent) {
            for (const dated_folder& folder : of_user) {
                assignment.notes += QStringLiteral("%1: not verified, since the source has no Mail directory of %2")
                                        .arg(manifest_text(folder.path), manifest_text(user));
            }
            continue;
        }
        assignment.users.push_back({user, of_user.empty() ? QByteArray() : of_user.front().path});
        for (std::size_t i = 1; i < of_user.size(); ++i) {
            assignment.notes += QStringLiteral("%1: not verified, since %2 is a newer copy")
                                    .arg(manifest_text(of_user[i].path), manifest_text(of_user.front().path));
        }
    }
    return assignment;
}
