#pragma once

#include "host/files/hashing.h"
#include "host/files/nearby_files.h"

#include <QElapsedTimer>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <limits>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

/// What a thread works with.
struct pipeline_tools
{
    file_hasher hasher;
    nearby_files sources;
    nearby_files copies;
};

/// Completes items on all cores and hands them back on the calling thread, in the order in which they came. An item
/// tells by size() the bytes of the file it is about, and by readings() how often they are read for it, source and copy
/// counted apart.
template <typename item>
class ordered_pipeline
{
public:
    /// Completes one item on a thread of the pipeline. `cancelled` is told the bytes of each piece read and answers
    /// whether to give up; several threads may call it at once.
    using worker =
        std::function<void(item& one, pipeline_tools& tools, const std::function<bool(qint64 bytes)>& cancelled)>;

    /// Is told of an item that a thread of the pipeline completes next but a few.
    using foreseer = std::function<void(const item& one, pipeline_tools& tools)>;

    /// Who is told what, always on the calling thread.
    struct listener
    {
        std::function<void(const item& one)> finished;
        std::function<void(qint64 files, qint64 bytes)> progress; ///< several times a second
        std::function<bool()> cancelled;                          ///< as often; true ends the work
    };

    /// Starts as many threads, or fewer where there are fewer cores; where none can be started, the caller works.
    ordered_pipeline(foreseer foreseeing, worker completing, listener who_is_told,
                     int most_threads = std::numeric_limits<int>::max())
        : foresee_item(std::move(foreseeing))
        , complete_item(std::move(completing))
        , told(std::move(who_is_told))
    {
        since_reported.start();
        for (int i = 0; i < std::min(most_threads, thread_count()); ++i) {
            try {
                workers.emplace_back([this] { work(); });
            } catch (const std::system_error&) {
                break; // a machine without a thread to spare
            }
        }
    }

    /// Gives up what is under way and ends the threads.
    ~ordered_pipeline()
    {
        {
            const std::lock_guard lock(guard);
            closed = true;
            stopped = true;
            work_waits.notify_all();
        }
        for (std::thread& one : workers) {
            one.join();
        }
    }
    ordered_pipeline(const ordered_pipeline&) = delete;
    ordered_pipeline& operator=(const ordered_pipeline&) = delete;

    /// Takes the next item, waiting while too many are under way; false when cancelled.
    bool add(item&& one)
    {
        bytes_gathered += one.size();
        gathered.push_back(std::move(one));
        if (gathered.size() < items_at_once && bytes_gathered < bytes_at_once) {
            return report();
        }
        std::unique_lock lock(guard);
        hand_over();
        return hand_back(lock, most_under_way);
    }

    /// Waits for all items; false when cancelled.
    bool drain()
    {
        std::unique_lock lock(guard);
        hand_over();
        return hand_back(lock, 0);
    }

private:
    // A thread takes so many small files at once, which lie side by side, or fewer large ones.
    static constexpr std::size_t items_at_once = 32;
    static constexpr qint64 bytes_at_once = qint64(1) << 20;
    // What all threads together ask for ahead: as many as disks queue, to be read in an order of their own. With twice
    // as many, reading back 40,000 small files took longer instead.
    static constexpr int foreseen_by_all = 32;
    // So many may be under way: enough that one huge file does not leave the other cores idle for long, and what bounds
    // the memory.
    static constexpr std::size_t most_under_way = 512;
    static constexpr auto report_interval = std::chrono::milliseconds(100);

    static int thread_count() { return std::max(1, QThread::idealThreadCount()); }

    struct slot
    {
        std::vector<item> items;
        bool done = false;
    };

    /// Hands what was gathered to the threads.
    void hand_over()
    {
        if (!gathered.empty()) {
            under_way += gathered.size();
            window.push_back({std::move(gathered)});
            gathered.clear();
            gathered.reserve(items_at_once);
            bytes_gathered = 0;
            work_waits.notify_one();
        }
    }

    /// Hands back what is finished at the front, and waits until no more than `remaining` are left; false when
    /// cancelled.
    bool hand_back(std::unique_lock<std::mutex>& lock, std::size_t remaining)
    {
        while (true) {
            while (!window.empty() && window.front().done) {
                const std::vector<item> finished = std::move(window.front().items);
                window.pop_front();
                --next;
                lock.unlock();
                for (const item& one : finished) {
                    told.finished(one);
                    ++files_done;
                }
                under_way -= finished.size();
                lock.lock();
            }
            if (!report()) {
                return false;
            }
            if (under_way <= remaining) {
                return true;
            }
            if (!workers.empty()) {
                front_done.wait_for(lock, report_interval, [this] { return window.front().done; });
            } else {
                complete_next(lock, own_tools);
                if (stopped) {
                    return false;
                }
            }
        }
    }

    /// Shows progress when it is time to; false when cancelled.
    bool report()
    {
        if (since_reported.elapsed() < report_interval.count()) {
            return true;
        }
        since_reported.restart();
        told.progress(files_done, half_bytes / 2);
        return !told.cancelled();
    }

    void work()
    {
        pipeline_tools tools;
        std::unique_lock lock(guard);
        while (true) {
            work_waits.wait(lock, [this] { return closed || next < window.size(); });
            if (closed) {
                return;
            }
            complete_next(lock, tools);
        }
    }

    /// Completes the items that no thread has taken yet and that one takes together.
    void complete_next(std::unique_lock<std::mutex>& lock, pipeline_tools& tools)
    {
        // Neither taking from the front nor adding at the end moves the other elements of a deque.
        slot& mine = window[next++];
        lock.unlock();
        std::size_t foreseen = 0;
        for (std::size_t at = 0; at < mine.items.size(); ++at) {
            for (; foreseen < std::min(mine.items.size(), at + items_ahead); ++foreseen) {
                foresee_item(mine.items[foreseen], tools);
            }
            complete(mine.items[at], tools);
        }
        lock.lock();
        mine.done = true;
        if (&mine == &window.front()) {
            front_done.notify_one();
        }
    }

    void complete(item& one, pipeline_tools& tools)
    {
        const qint64 weight = one.readings() == 2 ? 1 : 2;
        const qint64 whole = 2 * one.size();
        std::atomic<qint64> counted = 0;
        complete_item(one, tools, [&](qint64 bytes) {
            counted += weight * bytes;
            half_bytes += weight * bytes;
            if (std::this_thread::get_id() == calling_thread && !report()) {
                stopped = true;
            }
            return stopped.load();
        });
        // What was not read, because it cannot be or there is no copy, is done with all the same.
        half_bytes += whole - counted;
    }

    const foreseer foresee_item;
    const worker complete_item;
    const listener told;
    const std::thread::id calling_thread = std::this_thread::get_id();
    const std::size_t items_ahead = std::size_t(std::clamp(foreseen_by_all / thread_count(), 2, 16));
    std::vector<item> gathered; ///< to be handed over at once
    qint64 bytes_gathered = 0;
    std::size_t under_way = 0; ///< items handed over and not yet handed back

    std::mutex guard;
    std::condition_variable work_waits;
    std::condition_variable front_done;
    std::deque<slot> window; ///< in the order of the items
    std::size_t next = 0;    ///< the first in the window that no thread has taken
    bool closed = false;
    std::atomic<bool> stopped = false;
    std::atomic<qint64> half_bytes = 0; ///< twice the bytes done, so that source and copy can count half each
    qint64 files_done = 0;
    QElapsedTimer since_reported;
    pipeline_tools own_tools; ///< of the calling thread, where it works
    std::vector<std::thread> workers;
};
