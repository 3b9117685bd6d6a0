#include "host/run/continued_copies.h"

#include "host/files/file_tree.h"
#include "host/result/dated_folders.h"
#include "host/source/source_users.h"
#include "host/text/failure.h"

#include <QFile>
#include <QSet>

#include <filesystem>
#include <system_error>

namespace {

namespace fs = std::filesystem;

void remove_all(const QByteArray& path)
{
    if (const QString reason = remove_tree(path); !reason.isEmpty()) {
        refuse(QStringLiteral("cannot remove %1 of the unfinished run: %2").arg(QFile::decodeName(path), reason));
    }
}

/// True for a copy that an interrupted run certainly finished: it takes the time last.
bool is_whole(const tree_entry& copy, const QByteArray& original)
{
    const entry_facts source = quiet_stat(original, link_handling::follow);
    if (copy.facts.kind == entry_kind::directory) {
        return source.kind == entry_kind::directory;
    }
    return copy.facts.kind == entry_kind::file && source.kind == entry_kind::file && source.size == copy.facts.size &&
           source.modified == copy.facts.modified;
}

void sweep(const QByteArray& copies, const QByteArray& mail_directory)
{
    std::vector<QByteArray> unfit;
    walk_tree(copies, [&](const tree_entry& entry) {
        const bool below_unfit = !unfit.empty() && is_at_or_below(entry.path, unfit.back());
        if (!entry.relative_path.isEmpty() && !below_unfit &&
            !is_whole(entry, child_path(mail_directory, entry.relative_path))) {
            unfit.push_back(entry.path);
        }
        return true;
    });
    for (const QByteArray& path : unfit) {
        remove_all(path);
    }
}

} // namespace

void keep_whole_copies(const run_plan& plan)
{
    const QByteArray root = plan.result.native_root();
    const QByteArray source = QFile::encodeName(plan.settings.source_root);
    QSet<QByteArray> users_of_run;
    for (const source_user& user : plan.settings.users) {
        users_of_run.insert(QFile::encodeName(user.name));
    }
    for (const auto& [user, folders] : find_dated_folders(plan.result)) {
        for (std::size_t i = 1; i < folders.size(); ++i) {
            remove_all(child_path(root, folders[i].path));
        }
        const QByteArray newest = child_path(root, folders.front().path);
        if (!users_of_run.contains(user)) {
            remove_all(newest);
            continue;
        }
        sweep(newest, child_path(source, mail_directory_of(user)));
        const QByteArray today = child_path(root, dated_folder_path(user, QDate::currentDate()));
        std::error_code error;
        fs::rename(newest.toStdString(), today.toStdString(), error);
        if (error) {
            refuse(QStringLiteral("cannot rename %1 to %2: %3")
                       .arg(QFile::decodeName(newest), QFile::decodeName(today),
                            QString::fromLocal8Bit(error.message().c_str())));
        }
    }
}
