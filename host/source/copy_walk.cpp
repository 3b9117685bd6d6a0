#include "host/source/copy_walk.h"

#include "host/files/file_tree.h"
#include "host/source/folder_names.h"
#include "host/text/utf8.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

// Links that share targets can multiply a tree beyond every number.
constexpr qint64 most = std::numeric_limits<qint64>::max() / 4;
constexpr qint64 allocation_unit = 4096;

void add_up(qint64& sum, qint64 more)
{
    sum = std::min(most, sum + std::min(most, more));
}

} // namespace

copy_walk::amount copy_walk::amount_of_file(qint64 bytes)
{
    const qint64 counted = std::min(most, bytes);
    return {{1, counted}, (counted + allocation_unit - 1) / allocation_unit * allocation_unit};
}

copy_walk::amount copy_walk::amount_of_directory()
{
    return {{}, allocation_unit, 1};
}

copy_walk::amount& copy_walk::amount::operator+=(const amount& other)
{
    add_up(files, other.files);
    add_up(bytes, other.bytes);
    add_up(room, other.room);
    add_up(directories, other.directories);
    return *this;
}

copy_walk::copy_walk(const QByteArray& source_root, directory_lister lister)
    : root(source_root)
    , list(std::move(lister))
    , resolved_root(resolved_path(source_root))
{
}

bool copy_walk::follow_way(const QByteArray& path)
{
    for (qsizetype end = root.size(); end >= 0 && end < path.size();) {
        end = path.indexOf('/', end + 1);
        const QByteArray step = end < 0 ? path : path.left(end);
        if (quiet_stat(step).kind != entry_kind::link) {
            continue;
        }
        const QByteArray target = resolved_path(step);
        if (!target.isEmpty() && !stays_inside(step, target)) {
            return false;
        }
    }
    return true;
}

copy_walk::extent copy_walk::walk_mail_directory(const QByteArray& mail_directory)
{
    const entry_facts facts = quiet_stat(mail_directory, link_handling::follow);
    if (facts.kind == entry_kind::unknown) {
        blocked.push_back({mail_directory, facts.error, facts.error_number});
    }
    if (facts.kind != entry_kind::directory || !follow_way(mail_directory)) {
        return {};
    }
    return walk(
        {.path = mail_directory, .name = {}, .id = {facts.device, facts.inode}, .where = depth::mail_directory});
}

copy_walk::extent copy_walk::walk(open_directory start)
{
    extent whole;
    for (enter(std::move(start)); !open.empty();) {
        open_directory& current = open.back();
        if (current.next == current.entries.size()) {
            whole = close();
            continue;
        }
        const named_entry entry = std::move(current.entries[current.next++]);
        if (entry.facts.hidden || current.where == depth::mail_directory) {
            leave_out(child_path(current.path, entry.name), entry.facts);
        }
        // Names that are no Unicode are copied by no way of copying.
        if (!entry.facts.hidden && is_utf8(entry.name)) {
            take(current.path, current.where, entry);
        }
    }
    return whole;
}

void copy_walk::take(const QByteArray& directory, depth where, const named_entry& entry)
{
    const QByteArray path = child_path(directory, entry.name);
    const entry_facts& facts = entry.facts;
    if (facts.kind == entry_kind::file && where == depth::below) {
        open.back().sum.tree += amount_of_file(facts.size);
    } else if (facts.kind == entry_kind::directory) {
        enter({.path = path, .name = entry.name, .id = {facts.device, facts.inode}});
    } else if (facts.kind == entry_kind::link) {
        take_link(path, where, entry.name);
    } else if (!facts.error.isEmpty()) {
        blocked.push_back({path, facts.error, facts.error_number});
    }
}

/// Counts a hidden or loose file, or those of a hidden directory.
void copy_walk::leave_out(const QByteArray& path, const entry_facts& facts)
{
    amount& left_out = open.back().sum.left_out;
    if (facts.kind == entry_kind::file) {
        left_out += amount_of_file(facts.size);
    } else if (facts.kind == entry_kind::directory && facts.hidden) {
        const auto count = [&left_out](const tree_entry& entry) {
            if (entry.facts.kind == entry_kind::file) {
                left_out += amount_of_file(entry.facts.size);
            } else if (entry.facts.kind == entry_kind::directory) {
                left_out += amount_of_directory();
            }
            return true;
        };
        walk_tree(path, count, list);
    }
}

void copy_walk::take_link(const QByteArray& link, depth where, const QByteArray& name)
{
    const entry_facts facts = quiet_stat(link, link_handling::follow);
    const bool is_directory = facts.kind == entry_kind::directory;
    const bool is_copied_file = facts.kind == entry_kind::file && where == depth::below;
    if (!is_directory && !is_copied_file) {
        return;
    }
    const QByteArray target = resolved_path(link);
    if (!stays_inside(link, target)) {
        return;
    }
    if (is_copied_file) {
        open.back().sum.tree += amount_of_file(facts.size);
        return;
    }
    followed_links.push_back({link, target, link_problem_kind::cycle});
    if (!enter({.path = target, .name = name, .id = {facts.device, facts.inode}, .is_link = true})) {
        followed_links.pop_back();
    }
}

/// False when there is nothing to walk: the directory was walked before, or is being walked.
bool copy_walk::enter(open_directory inner)
{
    if (const auto known = walked.find(inner.id); known != walked.end() && !open.empty()) {
        note_account(inner, known->second);
        add_to_parent(known->second, inner.name, inner.is_link);
        return false;
    }
    if (!being_walked.insert(inner.id).second) {
        // Directories alone form a tree: the link followed last is what closes the circle.
        if (!followed_links.empty()) {
            report(followed_links.back().path, followed_links.back().target, link_problem_kind::cycle);
        }
        return false;
    }
    directory_listing listing = list(inner.path);
    if (!listing.error.isEmpty()) {
        blocked.push_back({inner.path, listing.error, listing.error_number});
    }
    inner.entries = std::move(listing.entries);
    inner.sum.directories += amount_of_directory();
    open.push_back(std::move(inner));
    return true;
}

void copy_walk::note_account(const open_directory& folder, const extent& content)
{
    if (naming_of(folder.name) != folder_naming::other) {
        account_files[folder.id] = content.tree.files;
    }
}

/// Adds a directory to the one it is reached from, which is open.
void copy_walk::add_to_parent(const extent& content, const QByteArray& name, bool is_link)
{
    extent& sum = open.back().sum;
    sum.tree += content.tree;
    sum.directories += content.directories;
    // The copy follows links; the search for account folders does not, but for a folder that is itself a link.
    if (!is_link) {
        sum.accounts += content.accounts;
        sum.left_out += content.left_out;
    }
    switch (naming_of(name)) {
    case folder_naming::imap:
    case folder_naming::pop:
        sum.accounts += content.tree;
        break;
    case folder_naming::identifier:
        sum.identifiers += content.tree;
        break;
    case folder_naming::other:
        break;
    }
    // The accounts of the store have their folders directly in a version directory.
    if (open.back().where == depth::mail_directory && is_version_name(name)) {
        sum.accounts += content.identifiers;
    }
}

copy_walk::extent copy_walk::close()
{
    const open_directory done = std::move(open.back());
    open.pop_back();
    being_walked.erase(done.id);
    if (done.is_link) {
        followed_links.pop_back();
    }
    // The Mail directory itself is copied without its files, a folder of the same identity with them.
    if (done.where == depth::below) {
        walked[done.id] = done.sum;
        note_account(done, done.sum);
    }
    if (!open.empty()) {
        add_to_parent(done.sum, done.name, done.is_link);
    }
    return done.sum;
}

bool copy_walk::stays_inside(const QByteArray& link, const QByteArray& target)
{
    if (!target.isEmpty() && is_at_or_below(target, resolved_root)) {
        return true;
    }
    report(link, target, link_problem_kind::leaves_source);
    return false;
}

void copy_walk::report(const QByteArray& link, const QByteArray& target, link_problem_kind kind)
{
    if (reported.insert(link).second) {
        found.push_back({link, target, kind});
    }
}
