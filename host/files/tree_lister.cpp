#include "host/files/tree_lister.h"

#include "host/files/all_cores.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace {

constexpr std::size_t most_entries_listed = 2048;

/// Who walks lists as well. One also where there is one core: while one waits for the disk the other need not.
std::size_t thread_count()
{
    return std::clamp<std::size_t>(core_count(), 2, 8) - 1;
}

std::size_t weight_of(const directory_listing& listing)
{
    return listing.entries.size() + 1;
}

} // namespace

tree_lister::tree_lister(const std::vector<QByteArray>& trees)
{
    pending.insert(trees.begin(), trees.end());
    for (std::size_t i = 0; i < thread_count(); ++i) {
        try {
            threads.emplace_back([this] { work(); });
        } catch (const std::system_error&) {
            break; // a machine without a thread to spare: who asks lists
        }
    }
}

tree_lister::~tree_lister()
{
    {
        const std::lock_guard lock(guard);
        ends = true;
    }
    may_work.notify_all();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void tree_lister::work()
{
    std::unique_lock lock(guard);
    while (true) {
        may_work.wait(lock, [this] { return ends || has_work(); });
        if (ends) {
            return;
        }
        list_one(lock);
    }
}

bool tree_lister::has_work() const
{
    return !pending.empty() && entries_listed < most_entries_listed;
}

/// Lists the next directory.
void tree_lister::list_one(std::unique_lock<std::mutex>& lock)
{
    const QByteArray path = pending.extract(pending.begin()).value();
    in_work.insert(path);
    lock.unlock();
    directory_listing listing = quiet_list(path);
    lock.lock();
    in_work.remove(path);
    add_inner(path, listing);
    // Trees may lie in each other.
    if (!listed.contains(path)) {
        entries_listed += weight_of(listing);
        listed.emplace(path, std::move(listing));
    }
    is_there.notify_one();
}

directory_listing tree_lister::next(const QByteArray& path)
{
    std::unique_lock lock(guard);
    while (in_work.contains(path)) {
        // To sleep and be woken takes longer than to list most directories.
        if (has_work()) {
            list_one(lock);
        } else {
            is_there.wait(lock);
        }
    }
    if (const auto found = listed.find(path); found != listed.end()) {
        directory_listing listing = std::move(found.value());
        listed.erase(found);
        entries_listed -= weight_of(listing);
        may_work.notify_all();
        return listing;
    }
    const bool is_of_tree = pending.erase(path) > 0;
    lock.unlock();
    directory_listing listing = quiet_list(path);
    if (is_of_tree) {
        lock.lock();
        add_inner(path, listing);
    }
    return listing;
}

void tree_lister::add_inner(const QByteArray& path, const directory_listing& listing)
{
    for (const named_entry& entry : listing.entries) {
        if (entry.facts.kind == entry_kind::directory) {
            pending.insert(child_path(path, entry.name));
        }
    }
    may_work.notify_all();
}
