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
    if (!listing.error.isEmpty()) {
        return;
    }
    kept_note kept;
    kept.is_visible = is_visible(path);
    kept.note.is_plain = kept.is_visible;
    for (const named_entry& entry : listing.entries) {
        const entry_facts& facts = entry.facts;
        add_entry(kept.note, entry.name, facts.kind);
        kept.note.amount += {0, facts.kind == entry_kind::file ? facts.size : 0};
        kept.note.is_plain = kept.note.is_plain && !facts.hidden && facts.error.isEmpty();
        if (facts.hidden && facts.kind == entry_kind::directory) {
            kept.hidden_directories.push_back(entry.name);
        }
    }
    notes.insert(path, std::move(kept));
}

const directory_note* directory_notes::find(const QByteArray& path) const
{
    const auto found = notes.constFind(path);
    return found == notes.constEnd() ? nullptr : &found->note;
}

bool directory_notes::is_visible(const QByteArray& path) const
{
    if (std::binary_search(roots.begin(), roots.end(), path)) {
        return true;
    }
    const qsizetype slash = path.lastIndexOf('/');
    const auto parent = notes.constFind(path.left(slash));
    if (slash < 0 || parent == notes.constEnd() || !parent->is_visible) {
        return false;
    }
    const std::vector<QByteArray>& hidden = parent->hidden_directories;
    return std::find(hidden.begin(), hidden.end(), path.mid(slash + 1)) == hidden.end();
}
