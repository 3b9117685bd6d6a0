#include "host/verify/copy_comparison.h"

#include "host/files/file_copy.h"
#include "host/files/file_tree.h"
#include "host/text/utf8.h"

namespace {

void judge(manifest_entry& entry, entry_status status, const QByteArray& reason)
{
    entry.status = status;
    entry.reason = entry.reason.isEmpty() ? reason : entry.reason + "; " + reason;
}

QByteArray why_missing(const manifest_entry& entry)
{
    if (entry.copy.isEmpty()) {
        return "the result has no copy of this directory";
    }
    if (!is_utf8(entry.path)) {
        return "not copied: the name is not valid UTF-8";
    }
    return "not copied";
}

QByteArray at_offset(qint64 offset, const QString& reason)
{
    return "at byte " + QByteArray::number(offset) + ": " + reason.toUtf8();
}

/// True when a file is still as it was when it was opened; a copy of one that is not is of no certain moment.
bool is_unchanged(const quiet_file& file, qint64 bytes_read)
{
    const entry_facts now = quiet_facts(file.descriptor);
    return now.error.isEmpty() && bytes_read == file.facts.size && now.size == file.facts.size &&
           now.modified == file.facts.modified;
}

bool read_source(copy_pair& pair, quiet_file& source, file_hasher& hasher, const std::function<bool(qint64)>& cancelled)
{
    manifest_entry& entry = pair.entry;
    if (!source.error.isEmpty()) {
        judge(entry, entry_status::unreadable, "source: " + source.error.toUtf8());
        return true;
    }
    const file_hasher::outcome read = hasher.hash(source.descriptor.get(), cancelled);
    if (read.stopped) {
        return false;
    }
    entry.metadata.modified = source.facts.modified;
    entry.size = source.facts.size;
    if (read.error != 0) {
        judge(entry, entry_status::unreadable, "source: " + at_offset(read.bytes, system_error_text(read.error)));
    } else if (!is_unchanged(source, read.bytes)) {
        judge(entry, entry_status::changed,
              "source: it changed while it was read: " + QByteArray::number(read.bytes) + " of " +
                  QByteArray::number(entry.size) + " bytes read");
    } else {
        entry.source_sha256 = read.digest;
    }
    return true;
}

void give_modification_time(copy_pair& pair, const quiet_file& copy)
{
    manifest_entry& entry = pair.entry;
    if (!entry.metadata.modified || copy.facts.modified == *entry.metadata.modified) {
        return;
    }
    // Through the open file, so that it is certainly the one whose bytes were compared.
    if (const int error = set_modification_time(copy.descriptor.get(), *entry.metadata.modified); error != 0) {
        pair.time_refused = true;
        judge(entry, entry.status, "modification time not set: " + system_error_text(error).toUtf8());
    }
}

bool read_copy(copy_pair& pair, const quiet_file& copy, file_hasher& hasher,
               const std::function<bool(qint64)>& cancelled)
{
    manifest_entry& entry = pair.entry;
    const file_hasher::outcome read = hasher.hash(copy.descriptor.get(), cancelled);
    if (read.stopped) {
        return false;
    }
    if (read.error != 0) {
        judge(entry, entry_status::unreadable, "copy: " + at_offset(read.bytes, system_error_text(read.error)));
        return true;
    }
    entry.copy_sha256 = read.digest;
    if (entry.copy_sha256 == entry.source_sha256) {
        give_modification_time(pair, copy);
    } else if (read.bytes == entry.size) {
        judge(entry, entry_status::different, "same size, other content");
    } else {
        judge(entry, entry_status::different,
              "the copy has " + QByteArray::number(read.bytes) + " of " + QByteArray::number(entry.size) + " bytes");
    }
    return true;
}

/// Opens a pair's copy; says in the entry why that cannot be done.
quiet_file open_copy(copy_pair& pair, const QByteArray& result, nearby_files& copies,
                     content_source from = content_source::anywhere)
{
    manifest_entry& entry = pair.entry;
    if (entry.copy.isEmpty()) {
        judge(entry, entry_status::missing, why_missing(entry));
        return {};
    }
    const QByteArray path = child_path(result, entry.copy);
    quiet_file copy = copies.open(path, link_handling::keep, from);
    if (copy.descriptor.is_open()) {
        return copy;
    }
    if (quiet_stat(path).kind == entry_kind::absent) {
        judge(entry, entry_status::missing, why_missing(entry));
    } else {
        judge(entry, entry_status::unreadable, "copy: " + copy.error.toUtf8());
    }
    return copy;
}

/// Says whether the source is still what was copied.
void judge_changes(manifest_entry& entry, const known_source& known)
{
    if (known.has_changed || !is_as_copied(known, entry.size, entry.metadata.modified)) {
        judge(entry, entry_status::changed,
              known.has_changed ? "source: it changed while it was copied" : "source: it changed after it was copied");
    }
}

} // namespace

void look_at_copy(copy_pair& pair, const known_sources* known, const QByteArray& result, pipeline_tools& tools)
{
    manifest_entry& entry = pair.entry;
    if (pair.task != pair_task::compare) {
        return;
    }
    if (entry.copy.isEmpty()) {
        judge(entry, entry_status::missing, why_missing(entry));
        return;
    }
    const entry_facts copy = tools.copies.facts(child_path(result, entry.copy));
    if (copy.kind == entry_kind::absent) {
        judge(entry, entry_status::missing, why_missing(entry));
    } else if (copy.kind != entry_kind::file) {
        judge(entry, entry_status::unreadable, "copy: " + kind_text(copy.kind).toUtf8());
    } else if (copy.size != entry.size) {
        judge(entry, entry_status::different,
              "the copy has " + QByteArray::number(copy.size) + " of " + QByteArray::number(entry.size) + " bytes");
    } else if (known != nullptr && (known->has_changed() || copy.modified != entry.metadata.modified)) {
        // A copy has the time that its source had when it was copied.
        const std::optional<known_source> source = known->find(entry.copy);
        if (source && source->problem.isEmpty()) {
            judge_changes(entry, *source);
        }
    }
}

void ask_for_pair(const copy_pair& pair, bool is_known, const QByteArray& source, const QByteArray& result,
                  pipeline_tools& tools)
{
    if (pair.task != pair_task::nothing && !is_known) {
        tools.sources.ask_for(child_path(source, pair.entry.path), pair.links);
    }
    if (pair.task == pair_task::compare && !pair.entry.copy.isEmpty()) {
        tools.copies.ask_for(child_path(result, pair.entry.copy), link_handling::keep,
                             is_known ? content_source::disk : content_source::anywhere);
    }
}

bool complete_pair(copy_pair& pair, const QByteArray& source, const QByteArray& result, pipeline_tools& tools,
                   const std::function<bool(qint64 bytes)>& cancelled)
{
    manifest_entry& entry = pair.entry;
    if (pair.task == pair_task::nothing) {
        return true;
    }
    quiet_file original = tools.sources.open(child_path(source, entry.path), pair.links);
    if (!read_source(pair, original, tools.hasher, cancelled)) {
        return false;
    }
    if (!entry.source_sha256 || pair.task == pair_task::hash_source) {
        return true;
    }

    const quiet_file copy = open_copy(pair, result, tools.copies);
    if (!copy.descriptor.is_open()) {
        return true;
    }
    if (copy.facts.device == original.facts.device && copy.facts.inode == original.facts.inode) {
        judge(entry, entry_status::different, "what stands for the copy is the source file itself");
        return true;
    }
    return read_copy(pair, copy, tools.hasher, cancelled);
}

bool complete_known_pair(copy_pair& pair, const known_source& known, const QByteArray& result, pipeline_tools& tools,
                         const std::function<bool(qint64 bytes)>& cancelled)
{
    manifest_entry& entry = pair.entry;
    if (!known.problem.isEmpty()) {
        judge(entry, entry_status::missing, "not copied: " + known.problem);
        return true;
    }
    judge_changes(entry, known);
    entry.source_sha256 = known.digest;
    const quiet_file copy = open_copy(pair, result, tools.copies, content_source::disk);
    if (!copy.descriptor.is_open()) {
        return true;
    }
    return read_copy(pair, copy, tools.hasher, cancelled);
}
