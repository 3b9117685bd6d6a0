#include "host/case_collection/copies_ahead.h"

#include <system_error>

copies_ahead::copies_ahead(const case_overview& overview, const QString& directory)
    : entries(overview.entries)
    , scratch(directory)
{
    try {
        thread = std::thread([this] { copy_all(); });
    } catch (const std::system_error&) {
        // A machine without a thread to spare: who takes the results copies them.
    }
}

copies_ahead::~copies_ahead()
{
    {
        const std::lock_guard lock(mutex);
        is_stopped = true;
    }
    changed.notify_all();
    if (thread.joinable()) {
        thread.join();
    }
}

std::unique_ptr<copied_result> copies_ahead::next()
{
    if (!thread.joinable()) {
        return copy_next();
    }
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return ready || is_over; });
    if (!ready && thrown) {
        std::rethrow_exception(thrown);
    }
    auto taken = std::move(ready);
    changed.notify_all();
    return taken;
}

void copies_ahead::copy_all()
{
    bool is_more = true;
    while (is_more) {
        std::unique_ptr<copied_result> copied;
        std::exception_ptr problem;
        try {
            copied = copy_next();
        } catch (...) {
            problem = std::current_exception();
        }
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return !ready || is_stopped; });
        is_more = copied && !is_stopped;
        is_over = !copied;
        thrown = problem;
        ready = std::move(copied);
        changed.notify_all();
    }
}

std::unique_ptr<copied_result> copies_ahead::copy_next()
{
    while (at < entries.size() && !has_result(entries[at].status.state)) {
        ++at;
    }
    return at < entries.size() ? std::make_unique<copied_result>(entries[at++], scratch) : nullptr;
}
