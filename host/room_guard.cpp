#include "host/room_guard.h"

#include "host/copy_walk.h"
#include "host/display_text.h"
#include "host/folder_names.h"
#include "host/source_tree.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>
#include <limits>

namespace {

/// Returns what the folders named by an account's identifier take; they lie directly in the version directories.
qint64 identifier_folder_bytes(const copy_walk& walk, const QByteArray& mail_directory)
{
    copy_walk::extent sum;
    for (const named_entry& version : quiet_list(mail_directory).entries) {
        if (!is_version_name(version.name))
            continue;
        const QByteArray version_path = child_path(mail_directory, version.name);
        for (const named_entry& folder : quiet_list(version_path).entries)
            if (naming_of(folder.name) == folder_naming::identifier)
                sum.add(walk.known_extent(child_path(version_path, folder.name)).bytes);
    }
    return sum.bytes;
}

QString nearest_existing(const QString& path)
{
    QFileInfo info(QFileInfo(path).absoluteFilePath());
    while (!info.exists() && !info.isRoot())
        info.setFile(info.absolutePath());
    return info.filePath();
}

} // namespace

room_estimate estimate_room(const QByteArray& source_root, const std::vector<QByteArray>& mail_directories,
                            const QString& result)
{
    room_estimate estimate;
    copy_walk walk(source_root);
    for (const QByteArray& mail_directory : mail_directories) {
        const copy_walk::extent extent = walk.walk_mail_directory(mail_directory);
        estimate.mail_trees += extent.bytes;
        estimate.account_folders += extent.imap_and_pop_bytes + identifier_folder_bytes(walk, mail_directory);
    }
    estimate.measured_at = nearest_existing(result);
    std::error_code error;
    const auto space = std::filesystem::space(QFile::encodeName(estimate.measured_at).toStdString(), error);
    if (error)
        estimate.error = QString::fromLocal8Bit(error.message().c_str());
    else
        estimate.free = qint64(std::min<std::uintmax_t>(space.available, std::numeric_limits<qint64>::max()));
    return estimate;
}

QString room_amounts(const room_estimate& estimate)
{
    const QString free =
        estimate.error.isEmpty() ? display_bytes(estimate.free) : QStringLiteral("unknown (%1)").arg(estimate.error);
    return QStringLiteral("needed %1 (Mail trees %2, account folders once more %3), free %4")
        .arg(display_bytes(estimate.needed()), display_bytes(estimate.mail_trees),
             display_bytes(estimate.account_folders), free);
}

QString room_text(const room_estimate& estimate)
{
    return QStringLiteral("%1 at %2").arg(room_amounts(estimate), display_text(estimate.measured_at));
}
