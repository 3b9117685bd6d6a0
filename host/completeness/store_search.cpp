#include "host/completeness/store_search.h"

#include "host/completeness/mailbox_names.h"
#include "host/completeness/store_notes.h"
#include "host/files/file_tree.h"
#include "host/source/folder_names.h"

#include <algorithm>
#include <utility>

namespace {

// A store may have millions, which the memory should not.
constexpr std::size_t most_remembered = 1000;

} // namespace

store_search::store_search(const mail_store& looked_at, const completeness_request& asked)
    : store(looked_at)
    , request(asked)
{
}

store_search::~store_search()
{
    const std::lock_guard lock(guard);
    abandoned = true;
    changed.notify_all();
}

void store_search::begin()
{
    begun = std::async(std::launch::async | std::launch::deferred, [this] { return find(); });
}

mail_files store_search::take(completeness_sink& sink)
{
    tell_remembered(sink);
    return begun.valid() ? begun.get() : find();
}

mail_files store_search::find()
{
    const bool is_version = !store.mail_version.isEmpty();
    mail_file_search search;
    search.is_account = [is_version](const QByteArray& folder) {
        return folder != mail_data_folder && (is_version || !is_version_name(folder));
    };
    search.on_absent = [this](const absent_attachment& absent) { tell(absent); };
    search.cancelled = [this] { return abandoned || request.limits.cancelled(); };
    search.copy_of = request.copy_of;
    search.begins_as_message = request.begins_as_message;
    search.looked_into = request.looked_into;
    search.most_expected = std::min(request.most_messages, most_reserved);
    return find_mail_files(store.root, search);
}

void store_search::tell(const absent_attachment& absent)
{
    const mailbox_identity mailbox{request.user, store.mail_version, absent.mailbox.account,
                                   mailbox_path(absent.mailbox.names)};
    const QByteArray path = path_below(request.source, child_path(store.root, absent.path));
    std::unique_lock lock(guard);
    changed.wait(lock, [this] { return taker != nullptr || abandoned || remembered.size() < most_remembered; });
    if (taker != nullptr) {
        taker->add_absent_attachment(mailbox, path, absent.part);
    } else if (!abandoned) {
        remembered.push_back({mailbox, path, absent.part});
    }
}

void store_search::tell_remembered(completeness_sink& sink)
{
    const std::lock_guard lock(guard);
    for (const remembered_absence& absent : std::exchange(remembered, {})) {
        sink.add_absent_attachment(absent.mailbox, absent.path, absent.part);
    }
    taker = &sink;
    changed.notify_all();
}
