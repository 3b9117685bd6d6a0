#pragma once

#include "host/verify/copy_pairs.h"
#include "host/files/hashing.h"

#include <QElapsedTimer>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

/// Completes copy pairs on all cores and hands them back on the calling thread, in the order in which they came.
class pair_pipeline
{
public:
    /// Who is told what, always on the calling thread.
    struct listener
    {
        std::function<void(const copy_pair& pair)> finished;
        std::function<void(qint64 files, qint64 bytes)> progress; ///< several times a second
        std::function<bool()> cancelled;                          ///< as often; true ends the work
    };

    /// Starts the threads; the paths are absolute and outlive the pipeline.
    pair_pipeline(const QByteArray& source, const QByteArray& result, listener who_is_told);
    /// Gives up what is under way and ends the threads.
    ~pair_pipeline();
    pair_pipeline(const pair_pipeline&) = delete;
    pair_pipeline& operator=(const pair_pipeline&) = delete;

    /// Takes the next pair, waiting while too many are under way; false when cancelled.
    bool add(copy_pair&& pair);
    /// Waits for all pairs; false when cancelled.
    bool drain();

private:
    struct slot
    {
        copy_pair pair;
        bool done = false;
    };

    bool hand_back(std::unique_lock<std::mutex>& lock, std::size_t remaining);
    bool report();
    void work();
    void complete(copy_pair& pair, file_hasher& hasher);

    const QByteArray& source_root;
    const QByteArray& result_root;
    const listener told;

    std::mutex guard;
    std::condition_variable work_waits;
    std::condition_variable front_done;
    std::deque<slot> window; ///< in the order of the pairs
    std::size_t next = 0;    ///< the first in the window that no thread has taken
    bool closed = false;
    std::atomic<bool> stopped = false;
    std::atomic<qint64> half_bytes = 0; ///< twice the bytes done, so that source and copy can count half each
    qint64 files_done = 0;
    QElapsedTimer since_reported;
    std::vector<std::thread> workers;
};
