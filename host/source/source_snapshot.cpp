#include "host/source/source_snapshot.h"

#include "host/files/file_tree.h"
#include "host/source/account_stores.h"
#include "host/source/folder_names.h"
#include "host/source/source_users.h"
#include "host/text/display_text.h"

namespace {

constexpr qsizetype most_differences = 20;

} // namespace

source_snapshot::source_snapshot(const QByteArray& source, const std::vector<QByteArray>& users) : root(source)
{
    for (const QByteArray& user : users) {
        look_at(mail_directory_of(user), true);
        look_at("Users/" + user + '/' + accounts_directory, false);
    }
}

void source_snapshot::look_at(const QByteArray& path, bool and_below)
{
    std::vector<QByteArray> waiting{path};
    while (!waiting.empty()) {
        const QByteArray directory = std::move(waiting.back());
        waiting.pop_back();
        const kinds_listing listing = quiet_kinds(child_path(root, directory));
        if (!listing.error.isEmpty()) {
            const entry_kind kind = quiet_stat(child_path(root, directory), link_handling::follow).kind;
            if (kind == entry_kind::directory || kind == entry_kind::unknown) {
                blocked.push_back({directory, listing.error, listing.error_number});
            }
            continue;
        }
        shape& found = shapes[directory];
        for (const named_kind& entry : listing.entries) {
            const bool is_inner = entry.kind == entry_kind::directory;
            found.files += entry.kind == entry_kind::file ? 1 : 0;
            found.directories += is_inner ? 1 : 0;
            found.links += entry.kind == entry_kind::link ? 1 : 0;
            found.others += entry.kind != entry_kind::file && !is_inner && entry.kind != entry_kind::link ? 1 : 0;
            if (is_inner && and_below) {
                waiting.push_back(child_path(directory, entry.name));
            }
            const folder_naming naming = naming_of(entry.name);
            const bool may_be_folder = is_inner || entry.kind == entry_kind::link;
            if (and_below && may_be_folder && (naming == folder_naming::imap || naming == folder_naming::pop)) {
                account_names.push_back({child_path(directory, entry.name), path.size()});
            }
        }
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
