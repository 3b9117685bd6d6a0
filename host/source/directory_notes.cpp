#include "host/source/directory_notes.h"

#include <algorithm>

namespace {

/// Adds one entry, but for the bytes of a file.
void add_entry(directory_note& note, const QByteArray& name, entry_kind kind)
{
    switch (kind) {
    case entry_kind::file:
        note.amount += {1, 0};
        break;
    case entry_kind::directory:
        note.directories.push_back(name);
        break;
    case entry_kind::link:
        note.links.push_back(name);
        break;
    default:
        ++note.others;
    }
}

} // namespace

directory_note note_of(const kinds_listing& listing)
{
    directory_note note;
    for (const named_kind& entry : listing.entries) {
        add_entry(note, entry.name, entry.kind);
    }
    return note;
}

directory_notes::directory_notes(const std::vector<QByteArray>& trees) : roots(trees)
{
    std::sort(roots.begin(), roots.end());
}

void directory_notes::add(const QByteArray& path, const directory_listing& listing)
{
    const bool is_whole =
        listing.error.isEmpty() && std::all_of(listing.entries.begin(), listing.entries.end(),
                                               [](const named_entry& entry) { return entry.facts.error.isEmpty(); });
    if (!is_whole) {
        return;
    }
    kept_note kept;
    look_from_above(path, kept);
    kept.note.is_plain = kept.is_visible;
    for (const named_entry& entry : listing.entries) {
        const entry_facts& facts = entry.facts;
        add_entry(kept.note, entry.name, facts.kind);
        kept.note.amount += {0, facts.kind == entry_kind::file ? facts.size : 0};
        kept.note.is_plain = kept.note.is_plain && !facts.hidden;
        if (facts.kind == entry_kind::directory) {
            kept.inner.push_back({facts.hidden, facts.changed});
        }
    }
    notes[path] = std::move(kept);
}

const directory_note* directory_notes::find(const QByteArray& path) const
{
    const auto found = notes.constFind(path);
    return found == notes.constEnd() ? nullptr : &found->note;
}

void directory_notes::look_from_above(const QByteArray& path, kept_note& kept) const
{
    if (std::binary_search(roots.begin(), roots.end(), path)) {
        kept.is_visible = true;
        return;
    }
    const qsizetype slash = path.lastIndexOf('/');
    const auto above = notes.constFind(path.left(slash));
    if (slash < 0 || above == notes.constEnd() || !above->is_visible) {
        return;
    }
    const std::vector<QByteArray>& names = above->note.directories;
    const QByteArray name = path.mid(slash + 1);
    const auto found = std::lower_bound(names.begin(), names.end(), name);
    if (found == names.end() || *found != name) {
        return;
    }
    const inner_directory& told = above->inner[std::size_t(found - names.begin())];
    kept.is_visible = !told.is_hidden;
    kept.note.changed = told.changed;
}
