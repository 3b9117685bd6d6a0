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

directory_notes::directory_notes(const std::vector<QByteArray>& trees)
{
    for (const QByteArray& tree : trees) {
        note_at(paths.add(tree)).is_root = true;
    }
}

void directory_notes::add(const QByteArray& path, const directory_listing& listing)
{
    const bool is_whole =
        listing.error.isEmpty() && std::all_of(listing.entries.begin(), listing.entries.end(),
                                               [](const named_entry& entry) { return entry.facts.error.isEmpty(); });
    if (!is_whole) {
        return;
    }
    const quint32 number = paths.add(path);
    take_back_what_it_told(note_at(number));
    const bool is_visible = notes[number].is_visible();
    directory_note note;
    note.is_plain = is_visible;
    const std::size_t inner_begin = inner.size();
    for (const named_entry& entry : listing.entries) {
        const entry_facts& facts = entry.facts;
        add_entry(note, entry.name, facts.kind);
        note.amount += {0, facts.kind == entry_kind::file ? facts.size : 0};
        note.is_plain = note.is_plain && !facts.hidden;
        if (facts.kind == entry_kind::directory) {
            inner.push_back(paths.add_below(number, entry.name));
            kept_note& told = note_at(inner.back());
            told.is_told_visible = is_visible && !facts.hidden;
            told.changed = facts.changed;
        }
    }
    for (const QByteArray& link : note.links) {
        inner.push_back(paths.add_below(number, link));
    }
    kept_note& kept = notes[number];
    kept.amount = note.amount;
    kept.others = note.others;
    kept.inner_begin = inner_begin;
    kept.directories = quint32(note.directories.size());
    kept.links = quint32(note.links.size());
    kept.is_listed = true;
    kept.is_plain = note.is_plain;
}

std::optional<directory_note> directory_notes::find(const QByteArray& path) const
{
    const std::optional<quint32> number = paths.find(path);
    if (!number || *number >= notes.size() || !notes[*number].is_listed) {
        return std::nullopt;
    }
    const kept_note& kept = notes[*number];
    const auto names = [&](std::size_t begin, std::size_t count) {
        std::vector<QByteArray> found;
        found.reserve(count);
        for (std::size_t at = begin; at < begin + count; ++at) {
            found.push_back(paths.name_of(inner[at]).toByteArray());
        }
        return found;
    };
    return directory_note{names(kept.inner_begin, kept.directories),
                          names(kept.inner_begin + kept.directories, kept.links),
                          kept.amount,
                          kept.others,
                          kept.is_plain,
                          kept.changed};
}

directory_notes::kept_note& directory_notes::note_at(quint32 number)
{
    if (number >= notes.size()) {
        notes.resize(number + std::size_t(1));
    }
    return notes[number];
}

/// What lies in a directory that is listed again is plain no more until it is listed again as well: its note may be of
/// an earlier time than what is told of it now.
void directory_notes::take_back_what_it_told(const kept_note& listed)
{
    for (std::size_t at = listed.inner_begin; at < listed.inner_begin + listed.directories; ++at) {
        notes[inner[at]].is_told_visible = false;
        notes[inner[at]].is_plain = false;
    }
}
