#include "host/completeness/mail_stores.h"

#include "host/completeness/mailbox_names.h"
#include "host/files/file_tree.h"
#include "host/source/folder_names.h"

#include <algorithm>

namespace {

constexpr const char* index_name = "Envelope Index";

/// Version directories come before what lies beside them, and by their number, "V9" before "V10".
bool precedes(const mail_store& left, const mail_store& right)
{
    return std::pair(left.mail_version.size(), left.mail_version) <
           std::pair(right.mail_version.size(), right.mail_version);
}

bool holds_mailbox(const QByteArray& directory)
{
    bool found = false;
    walk_tree(directory, [&found](const tree_entry& entry) {
        const QByteArray name = entry.path.mid(entry.path.lastIndexOf('/') + 1);
        found = entry.facts.kind == entry_kind::directory && is_mailbox_folder(name);
        return !found;
    });
    return found;
}

} // namespace

std::vector<mail_store> stores_of(const QByteArray& mail_directory)
{
    std::vector<mail_store> stores;
    bool has_older = quiet_stat(child_path(mail_directory, index_name)).kind != entry_kind::absent;
    for (const named_entry& entry : quiet_list(mail_directory).entries) {
        const QByteArray path = child_path(mail_directory, entry.name);
        const bool is_directory = entry.facts.kind == entry_kind::directory;
        if (is_version_name(entry.name) && (is_directory || entry.facts.kind == entry_kind::link)) {
            stores.push_back({path, entry.name, child_path(child_path(path, mail_data_folder), index_name)});
        } else if (is_directory && entry.name != mail_data_folder && !has_older) {
            has_older = is_mailbox_folder(entry.name) || holds_mailbox(path);
        }
    }
    std::sort(stores.begin(), stores.end(), precedes);
    if (has_older) {
        stores.push_back({mail_directory, {}, child_path(mail_directory, index_name)});
    }
    return stores;
}
