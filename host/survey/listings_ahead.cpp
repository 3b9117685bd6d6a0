#include "host/survey/listings_ahead.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace {

constexpr std::size_t most_entries_waiting = 2048;

} // namespace

listings_ahead::listings_ahead(const std::vector<QByteArray>& trees)
{
    try {
        lister = std::thread([this, trees] {
            tree_lister on_all_cores(trees);
            for (const QByteArray& tree : trees) {
                list_tree(tree, on_all_cores);
            }
            const std::lock_guard lock(guard);
            is_complete = true;
            is_there.notify_all();
        });
    } catch (const std::system_error&) {
        is_complete = true; // a machine without a thread to spare
    }
}

listings_ahead::~listings_ahead()
{
    {
        const std::lock_guard lock(guard);
        is_given_up = true;
        is_room.notify_all();
    }
    if (lister.joinable()) {
        lister.join();
    }
}

void listings_ahead::list_tree(const QByteArray& tree, tree_lister& on_all_cores)
{
    std::vector<QByteArray> pending{tree};
    while (!pending.empty() && !is_given_up) {
        const QByteArray path = std::move(pending.back());
        pending.pop_back();
        directory_listing listing = on_all_cores.next(path);
        const auto earlier = std::ptrdiff_t(pending.size());
        for (const auto& entry : listing.entries) {
            if (entry.facts.kind == entry_kind::directory) {
                pending.push_back(child_path(path, entry.name));
            }
        }
        std::reverse(pending.begin() + earlier, pending.end()); // the listing's first is the next
        add(path, std::move(listing));
    }
}

void listings_ahead::add(const QByteArray& path, directory_listing listing)
{
    const std::size_t entries = listing.entries.size() + 1;
    std::unique_lock lock(guard);
    is_room.wait(lock, [this] { return is_given_up || entries_waiting < most_entries_waiting; });
    waiting.push_back({path, std::move(listing), entries});
    entries_waiting += entries;
    is_there.notify_all();
}

directory_listing listings_ahead::next(reader who, const QByteArray& path)
{
    std::unique_lock lock(guard);
    std::size_t& position = positions[static_cast<std::size_t>(who)];
    while (true) {
        is_there.wait(lock, [&] { return is_complete || position < waiting.size(); });
        if (position == waiting.size() || walk_comes_before(path, waiting[position].path)) {
            lock.unlock();
            return quiet_list(path);
        }
        listed& found = waiting[position];
        const bool is_asked_for = found.path == path;
        directory_listing listing;
        if (is_asked_for && is_wanted_by_other(who)) {
            listing = found.listing;
        } else if (is_asked_for) {
            listing = std::move(found.listing);
        }
        ++position;
        drop_what_both_passed();
        if (is_asked_for) {
            return listing;
        }
    }
}

void listings_ahead::leave(reader who)
{
    const std::lock_guard lock(guard);
    has_left[static_cast<std::size_t>(who)] = true;
    drop_what_both_passed();
}

/// True when the other reader may still ask for what this one is at.
bool listings_ahead::is_wanted_by_other(reader who) const
{
    const auto mine = static_cast<std::size_t>(who);
    const std::size_t other = 1 - mine;
    return !has_left[other] && positions[other] <= positions[mine];
}

void listings_ahead::drop_what_both_passed()
{
    const auto has_passed = [this](std::size_t one) { return has_left[one] || positions[one] > 0; };
    while (!waiting.empty() && has_passed(0) && has_passed(1)) {
        entries_waiting -= waiting.front().entries;
        waiting.pop_front();
        for (std::size_t& position : positions) {
            position -= position > 0 ? 1 : 0;
        }
    }
    is_room.notify_one();
}
