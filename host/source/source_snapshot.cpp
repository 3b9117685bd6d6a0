#include "host/source/source_snapshot.h"

#include "host/files/all_cores.h"
#include "host/files/file_tree.h"
#include "host/source/account_stores.h"
#include "host/source/folder_names.h"
#include "host/source/source_users.h"
#include "host/text/display_text.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <utility>

namespace {

constexpr qsizetype most_differences = 20;
// Enough for all cores, few enough not to be felt in memory.
constexpr std::size_t directories_at_once = 256;

struct listing_look
{
    std::optional<directory_note> note; ///< nothing when the directory is not there or cannot be listed
    bool is_blocked = false;            ///< cannot be listed, for the reason that follows
    QString error = {};
    int error_number = 0;
};

/// What is to be said of directories: the first lines of many by their paths.
class first_lines
{
public:
    void add(const QByteArray& path, const QString& text)
    {
        ++added;
        lines.emplace(path, text);
        if (qsizetype(lines.size()) > most_differences) {
            lines.erase(std::prev(lines.end()));
        }
    }

    const std::map<QByteArray, QString>& by_path() const { return lines; }
    qint64 count() const { return added; }

private:
    std::map<QByteArray, QString> lines;
    qint64 added = 0;
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
    , user_names(users)
{
    look_at_all(seen, [this](const QByteArray& directory, const shape& found) {
        const quint32 number = paths.add(directory);
        shapes.resize(std::max(shapes.size(), std::size_t(number) + 1));
        shapes[number] = found;
        shapes[number].was_there = true;
    });
}

source_snapshot::source_snapshot(const QByteArray& source, const std::vector<QByteArray>& users)
    : root(source)
    , user_names(users)
{
}

void source_snapshot::look_at_all(const directory_notes& seen, const shape_taker& take)
{
    for (const QByteArray& user : user_names) {
        look_at(mail_directory_of(user), true, seen, take);
        look_at("Users/" + user + '/' + accounts_directory, false, seen, take);
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

void source_snapshot::look_at(const QByteArray& path, bool and_below, const directory_notes& seen,
                              const shape_taker& take)
{
    std::vector<QByteArray> waiting{path};
    while (!waiting.empty()) {
        const std::size_t count = std::min(waiting.size(), directories_at_once);
        const std::vector<QByteArray> some(waiting.end() - std::ptrdiff_t(count), waiting.end());
        waiting.resize(waiting.size() - count);
        std::vector<listing_look> looks(count);
        for_each_on_all_cores(count, [&](std::size_t at) {
            const QByteArray directory = child_path(root, some[at]);
            std::optional<directory_note> note = seen.find(directory);
            looks[at] = note ? listing_look{std::move(note)} : look_into(directory);
        });
        for (std::size_t at = 0; at < count; ++at) {
            if (looks[at].is_blocked) {
                blocked.push_back({some[at], looks[at].error, looks[at].error_number});
            }
            if (!looks[at].note) {
                continue;
            }
            const directory_note& here = *looks[at].note;
            take(some[at],
                 {here.amount.files, qint64(here.directories.size()), qint64(here.links.size()), here.others});
            if (!and_below) {
                continue;
            }
            for (const QByteArray& inner : here.directories) {
                waiting.push_back(child_path(some[at], inner));
            }
            note_account_folders(some[at], here.directories, path.size());
            note_account_folders(some[at], here.links, path.size());
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

bool source_snapshot::shape::is_as(const shape& other) const
{
    return files == other.files && directories == other.directories && links == other.links && others == other.others;
}

QString source_snapshot::shape::text() const
{
    return QStringLiteral("%1 files, %2 folders, %3 links, %4 others")
        .arg(files)
        .arg(directories)
        .arg(links)
        .arg(others);
}

QStringList source_snapshot::changes_until_now(const directory_notes& seen)
{
    first_lines changed;
    first_lines fresh;
    source_snapshot now(root, user_names);
    now.look_at_all(seen, [&](const QByteArray& directory, const shape& found) {
        const std::optional<quint32> number = paths.find(directory);
        shape* then = number && *number < shapes.size() && shapes[*number].was_there ? &shapes[*number] : nullptr;
        if (then == nullptr) {
            fresh.add(directory, QStringLiteral("a directory that was not there at first (%1)").arg(found.text()));
            return;
        }
        then->is_there_still = true;
        if (!then->is_as(found)) {
            changed.add(directory, QStringLiteral("%1 at first, %2 at last").arg(then->text(), found.text()));
        }
    });
    for (std::size_t number = 0; number < shapes.size(); ++number) {
        const shape& then = shapes[number];
        if (then.was_there && !then.is_there_still) {
            changed.add(paths.path_of(quint32(number)),
                        QStringLiteral("the directory is no longer there (it held %1)").arg(then.text()));
        }
    }

    QStringList lines;
    for (const first_lines* some : {&changed, &fresh}) {
        for (const auto& [path, text] : some->by_path()) {
            if (lines.size() < most_differences) {
                lines.append(QStringLiteral("%1: the source changed during the run: %2").arg(display_text(path), text));
            }
        }
    }
    const qint64 count = changed.count() + fresh.count();
    if (count > lines.size()) {
        lines.append(QStringLiteral("%1 more directories of the source changed during the run")
                         .arg(display_number(count - lines.size())));
    }
    return now.problems() + lines;
}
