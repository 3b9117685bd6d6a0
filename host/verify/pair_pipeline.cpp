#include "host/verify/pair_pipeline.h"

#include "host/verify/copy_comparison.h"

#include <QThread>

#include <algorithm>
#include <chrono>

namespace {

// So many files may be under way between the walk and the manifest: enough that one huge file does not leave the other
// cores idle for long, and what bounds the memory.
constexpr std::size_t window_size = 4096;
constexpr auto report_interval = std::chrono::milliseconds(100);

} // namespace

pair_pipeline::pair_pipeline(const QByteArray& source, const QByteArray& result, listener who_is_told)
    : source_root(source)
    , result_root(result)
    , told(std::move(who_is_told))
{
    since_reported.start();
    for (int i = 0; i < std::max(1, QThread::idealThreadCount()); ++i) {
        workers.emplace_back([this] { work(); });
    }
}

pair_pipeline::~pair_pipeline()
{
    {
        const std::lock_guard lock(guard);
        closed = true;
        stopped = true;
        work_waits.notify_all();
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
}

bool pair_pipeline::add(copy_pair&& pair)
{
    std::unique_lock lock(guard);
    window.push_back({std::move(pair)});
    work_waits.notify_one();
    return hand_back(lock, window_size);
}

bool pair_pipeline::drain()
{
    std::unique_lock lock(guard);
    return hand_back(lock, 0);
}

/// Hands back what is finished at the front, and waits until no more than `remaining` are left; false when cancelled.
bool pair_pipeline::hand_back(std::unique_lock<std::mutex>& lock, std::size_t remaining)
{
    while (true) {
        while (!window.empty() && window.front().done) {
            const copy_pair pair = std::move(window.front().pair);
            window.pop_front();
            --next;
            lock.unlock();
            told.finished(pair);
            ++files_done;
            lock.lock();
        }
        if (!report()) {
            return false;
        }
        if (window.size() <= remaining) {
            return true;
        }
        front_done.wait_for(lock, report_interval, [this] { return window.front().done; });
    }
}

/// Shows progress when it is time to; false when cancelled.
bool pair_pipeline::report()
{
    if (since_reported.elapsed() < report_interval.count()) {
        return true;
    }
    since_reported.restart();
    told.progress(files_done, half_bytes / 2);
    return !told.cancelled();
}

void pair_pipeline::work()
{
    file_hasher hasher;
    std::unique_lock lock(guard);
    while (true) {
        work_waits.wait(lock, [this] { return closed || next < window.size(); });
        if (closed) {
            return;
        }
        // Neither taking from the front nor adding at the end moves the other elements of a deque.
        slot& mine = window[next++];
        lock.unlock();
        complete(mine.pair, hasher);
        lock.lock();
        mine.done = true;
        if (&mine == &window.front()) {
            front_done.notify_one();
        }
    }
}

void pair_pipeline::complete(copy_pair& pair, file_hasher& hasher)
{
    const qint64 weight = pair.task == pair_task::compare ? 1 : 2;
    const qint64 whole = 2 * pair.entry.size;
    qint64 counted = 0;
    complete_pair(pair, source_root, result_root, hasher, [&](qint64 bytes) {
        counted += weight * bytes;
        half_bytes += weight * bytes;
        return stopped.load();
    });
    // What was not read, because it cannot be or there is no copy, is done with all the same.
    half_bytes += whole - counted;
}
