#include "host/files/file_tree.h"

#include "host/text/display_text.h"

#include <QFile>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

namespace {

/// A directory whose content is being visited.
struct open_directory
{
    QByteArray relative_path;
    bool hidden = false;
    std::vector<named_entry> entries;
    std::size_t next = 0;
};

} // namespace

directory_listing list_kinds(const QByteArray& path)
{
    kinds_listing kinds = quiet_kinds(path);
    directory_listing listing{{}, kinds.error, kinds.error_number};
    listing.entries.reserve(kinds.entries.size());
    for (named_kind& entry : kinds.entries) {
        entry_facts facts;
        facts.kind = entry.kind;
        facts.hidden = entry.name.startsWith('.');
        listing.entries.push_back({std::move(entry.name), std::move(facts)});
    }
    std::sort(listing.entries.begin(), listing.entries.end(),
              [](const named_entry& left, const named_entry& right) { return left.name < right.name; });
    return listing;
}

void walk_tree(const QByteArray& root, const std::function<bool(const tree_entry&)>& visit,
               const directory_lister& list)
{
    directory_listing root_listing = list(root);
    if (!root_listing.error.isEmpty()) {
        tree_entry entry;
        entry.path = root;
        entry.facts = quiet_stat(root, link_handling::follow);
        entry.listing_error = root_listing.error;
        entry.listing_error_number = root_listing.error_number;
        if (!visit(entry)) {
            return;
        }
    }
    std::vector<open_directory> stack;
    stack.push_back({{}, false, std::move(root_listing.entries)});
    while (!stack.empty()) {
        open_directory& current = stack.back();
        if (current.next == current.entries.size()) {
            stack.pop_back();
            continue;
        }
        named_entry& named = current.entries[current.next++];
        tree_entry entry;
        entry.relative_path =
            current.relative_path.isEmpty() ? named.name : child_path(current.relative_path, named.name);
        entry.path = child_path(root, entry.relative_path);
        entry.facts = std::move(named.facts);
        entry.hidden = current.hidden || entry.facts.hidden;
        directory_listing listing;
        const bool is_directory = entry.facts.kind == entry_kind::directory;
        if (is_directory) {
            listing = list(entry.path);
            entry.listing_error = listing.error;
            entry.listing_error_number = listing.error_number;
        }
        if (!visit(entry)) {
            return;
        }
        if (is_directory) {
            stack.push_back({entry.relative_path, entry.hidden, std::move(listing.entries)});
        }
    }
}

bool walk_comes_before(const QByteArray& path, const QByteArray& other)
{
    const auto rank = [](char byte) { return byte == '/' ? 0 : int(static_cast<unsigned char>(byte)) + 1; };
    return std::lexicographical_compare(path.begin(), path.end(), other.begin(), other.end(),
                                        [&rank](char left, char right) { return rank(left) < rank(right); });
}

file_amount visible_files_below(const QByteArray& directory, QString& problem, const directory_lister& list)
{
    file_amount found;
    const auto visit = [&](const tree_entry& entry) {
        const QString& reason = entry.facts.error.isEmpty() ? entry.listing_error : entry.facts.error;
        if (problem.isEmpty() && !reason.isEmpty() && entry.facts.kind != entry_kind::absent) {
            problem = QStringLiteral("cannot count what is in %1: %2").arg(QFile::decodeName(entry.path), reason);
        }
        if (entry.facts.kind == entry_kind::file && !entry.hidden) {
            found += {1, entry.facts.size};
        }
        return true;
    };
    walk_tree(directory, visit, list);
    return found;
}

QString remove_tree(const QByteArray& path)
{
    std::error_code error;
    std::filesystem::remove_all(path.toStdString(), error);
    if (!error) {
        return {};
    }
    // It ended at the first entry that it could not remove.
    QByteArray first = path;
    while (quiet_stat(first).kind == entry_kind::directory) {
        const kinds_listing left = quiet_kinds(first);
        if (left.entries.empty()) {
            break;
        }
        first = child_path(first, left.entries.front().name);
    }
    const QString reason = QString::fromLocal8Bit(error.message().c_str());
    return first == path ? reason : QStringLiteral("%1: %2").arg(display_text(first), reason);
}

bool is_directory(const QByteArray& path)
{
    return quiet_stat(path, link_handling::follow).kind == entry_kind::directory;
}

QByteArray child_path(const QByteArray& directory, const QByteArray& name)
{
    QByteArray path;
    path.reserve(directory.size() + 1 + name.size());
    path += directory;
    if (!directory.endsWith('/')) {
        path += '/';
    }
    return path += name;
}

bool is_at_or_below(const QByteArray& path, const QByteArray& directory)
{
    if (!path.startsWith(directory)) {
        return false;
    }
    return path.size() == directory.size() || directory.endsWith('/') || path[directory.size()] == '/';
}

QString decoded_name(const QByteArray& name)
{
    // Only at the very beginning of a text is the mark dropped.
    return QFile::decodeName('/' + name).mid(1);
}
