#include "host/accounts/folder_extents.h"

#include "host/text/display_text.h"

void folder_extent::add(const tree_entry& entry)
{
    const QString& error = entry.facts.error.isEmpty() ? entry.listing_error : entry.facts.error;
    if (!error.isEmpty() && problem.isEmpty()) {
        problem = QStringLiteral("%1: %2").arg(display_text(entry.path), error);
    }
    if (entry.facts.kind == entry_kind::file) {
        amount += {1, entry.facts.size};
    }
}

void folder_extents::add(const tree_entry& entry, const file_amount& files)
{
    const qsizetype version_end = entry.relative_path.indexOf('/');
    if (version_end < 0) {
        return;
    }
    const qsizetype folder_end = entry.relative_path.indexOf('/', version_end + 1);
    const bool is_folder = folder_end < 0;
    if (is_folder && entry.facts.kind != entry_kind::directory) {
        return;
    }
    if (is_folder || last == nullptr || !entry.path.startsWith(last->first)) {
        const qsizetype root_size = entry.path.size() - entry.relative_path.size();
        const QByteArray folder = is_folder ? entry.path + '/' : entry.path.left(root_size + folder_end + 1);
        last = &*extents.try_emplace(folder).first;
    }
    last->second.add(entry);
    last->second.amount += files;
}

const folder_extent* folder_extents::find(const QByteArray& path) const
{
    const auto found = extents.find(path + '/');
    return found == extents.end() ? nullptr : &found->second;
}
