#include "host/source/source_snapshot.h"

#include "host/files/all_cores.h"
#include "host/files/file_tree.h"
#include "host/source/account_stores.h"
#include "host/source/folder_names.h"
#include "host/source/source_users.h"
#include "host/text/display_text.h"

#include <optional>
#include <utility>

namespace {

constexpr qsizetype most_differences = 20;

struct listing_look
{
    std::optional<directory_note> note; ///< nothing when the directory is not there or cannot be listed
    bool is_blocked = false;            ///< cannot be listed, for the reason that follows
    QString error = {};
    int error_number = 0;
};

listing_look look_into(const QByteArray& directory)
{
    const kinds_listing listing = quiet_kinds(directory);
    if (listing.error.isEmpty()) {
        return {note_of(listing)};
    }
    const entry_kind kind = quiet_stat(directory, link_handling::follow).kind;
    const bool is_blocked = kind == entry_kind::directory || kind == entry_kind::unknown;
    return {{}, is_blocked, listing.error, listing.error_number};
}

} // namespace

source_snapshot::source_snapshot(const QByteArray& source, const std::vector<QByteArray>& users,
                                 const directory_notes& seen)
    : root(source)
{
    for (const QByteArray& user : users) {
        look_at(mail_directory_of(user), true, seen);
        look_at("Users/" + user + '/' + accounts_directory, false, seen);
    }
}

void source_snapshot::note_account_folders(const QByteArray& directory, const std::vector<QByteArray>& names,
                                           qsizetype mail_directory_size)
{
    for (const QByteArray& name : names) {
        const folder_naming naming = naming_of(name);
        if (naming == folder_naming::imap || naming == folder_naming::pop) {
            account_names.push_back({child_path(directory, name), mail_directory_size});
        }
    }
}

void source_snapshot::look_at(const QByteArray& path, bool and_below, const directory_notes& seen)
{
    std::vector<QByteArray> level{path};
    while (!level.empty()) {
        std::vector<listing_look> looks(level.size());
        for_each_on_all_cores(level.size(), [&](std::size_t at) {
            const QByteArray directory = child_path(root, level[at]);
            const directory_note* note = seen.find(directory);
            looks[at] = note != nullptr ? listing_look{*note} : look_into(directory);
        });
        std::vector<QByteArray> next;
        for (std::size_t at = 0; at < level.size(); ++at) {
            const QByteArray& directory = level[at];
            if (looks[at].is_blocked) {
                blocked.push_back({directory, looks[at].error, looks[at].error_number});
            }
            if (!looks[at].note) {
                continue;
            }
            const directory_note& here = *looks[at].note;
            shapes[directory] = {here.amount.files, qint64(here.directories.size()), qint64(here.links.size()),
                                 here.others};
            if (!and_below) {
                continue;
            }
            for (const QByteArray& inner : here.directories) {
                next.push_back(child_path(directory, inner));
            }
            note_account_folders(directory, here.directories, path.size());
            note_account_folders(directory, here.links, path.size());
        }
        level = std::move(next);
    }
}

bool source_snapshot::is_hidden(const account_name& folder) const
{
    for (qsizetype end = folder.mail_directory_size; end >= 0;) {
        end = folder.path.indexOf('/', end + 1);
        if (quiet_stat(child_path(root, end < 0 ? folder.path : folder.path.left(end))).hidden) {
            return true;
        }
    }
    return false;
}

std::vector<QByteArray> source_snapshot::account_folders() const
{
    std::vector<QByteArray> folders;
    for (const account_name& folder : account_names) {
        if (!is_hidden(folder)) {
            folders.push_back(folder.path);
        }
    }
    return folders;
}

QStringList source_snapshot::problems() const
{
    QStringList lines;
    for (const blocked_look& look : blocked) {
        if (lines.size() == most_differences) {
            lines.append(QStringLiteral("%1 more directories of the source could not be listed")
                             .arg(display_number(qint64(blocked.size()) - most_differences)));
            break;
        }
        lines.append(look.text());
    }
    return lines;
}

QString source_snapshot::shape::text() const
{
    return QStringLiteral("%1 files, %2 folders, %3 links, %4 others")
        .arg(files)
        .arg(directories)
        .arg(links)
        .arg(others);
}

QStringList source_snapshot::differences_from(const source_snapshot& earlier) const
{
    QStringList lines;
    qint64 count = 0;
    const auto add = [&](const QByteArray& path, const QString& text) {
        if (++count <= most_differences) {
            lines.append(QStringLiteral("%1: the source changed during the run: %2").arg(display_text(path), text));
        }
    };
    for (const auto& [path, then] : earlier.shapes) {
        const auto now = shapes.find(path);
        if (now == shapes.end()) {
            add(path, QStringLiteral("the directory is no longer there (it held %1)").arg(then.text()));
        } else if (!(now->second == then)) {
            add(path, QStringLiteral("%1 at first, %2 at last").arg(then.text(), now->second.text()));
        }
    }
    for (const auto& [path, now] : shapes) {
        if (earlier.shapes.count(path) == 0) {
            add(path, QStringLiteral("a directory that was not there at first (%1)").arg(now.text()));
        }
    }
    if (count > lines.size()) {
        lines.append(QStringLiteral("%1 more directories of the source changed during the run")
                         .arg(display_number(count - lines.size())));
    }
    return lines;
}
