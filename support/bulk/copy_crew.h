#pragma once

#include "support/bulk/file_copying.h"
#include "support/bulk/tree_walk.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

/// A directory that takes copies. It stays open as long as somebody holds it.
struct copy_directory_end
{
    QByteArray path;
    int error = 0; ///< errno when it could not be made or opened
    owned_descriptor descriptor;
};

/// Some files of one directory, to be copied.
class copy_job
{
public:
    copy_job(walked_directory_ptr source_end, std::shared_ptr<const copy_directory_end> destination_end,
             std::vector<walked_file> wanted);
    ~copy_job();
    Q_DISABLE_COPY_MOVE(copy_job)

    /// Copies the files that nobody has begun, until none is left; false when another thread still has some in work.
    bool work(file_copier& copier);
    /// True when nobody has begun to work on it.
    bool is_untouched() const { return next.load(std::memory_order_relaxed) == 0; }
    /// True when there are files that nobody has begun.
    bool has_work() const { return next.load(std::memory_order_relaxed) < files.size(); }
    /// True when the outcome of a file is there.
    bool is_ready(std::size_t file) const { return ready[file].load(std::memory_order_acquire); }
    /// Gives the descriptors back; only when all outcomes are there.
    void close();

    const std::vector<walked_file> files;
    std::vector<copy_outcome> outcomes; ///< one a file
    const QByteArray source_path;       ///< of the directory
    const QByteArray destination_path;

private:
    copy_order order_for(std::size_t file);
    void ask_ahead(std::size_t begun);

    given_permissions permissions;
    walked_directory_ptr source;
    std::shared_ptr<const copy_directory_end> destination;
    const bool asks_ahead; ///< for what follows the file in work
    std::unique_ptr<std::atomic<bool>[]> ready;
    std::unique_ptr<std::atomic<int>[]> opened; ///< sources that are open before their turn, -1 for none
    std::atomic<std::size_t> asked{0};          ///< the first file of which nothing was asked for yet
    std::atomic<std::size_t> next{0};
    std::atomic<std::size_t> left;
};

/// Threads that copy. A thread begins a job of its own where there is one, and helps with the oldest where there is
/// none.
class copy_crew
{
public:
    /// Throws std::runtime_error when nothing can be hashed. `cancelled` outlives the crew.
    copy_crew(const std::atomic<bool>& cancelled, content_hashing hashing);
    /// Ends the threads, after the jobs that they have in work.
    ~copy_crew();
    Q_DISABLE_COPY_MOVE(copy_crew)

    /// Hands a job to the threads. After a cancel jobs are finished without beginning any further file.
    void add(const std::shared_ptr<copy_job>& job);
    /// Returns how many jobs are not finished.
    std::size_t unfinished() const;
    /// Waits until a job has been finished since the last call, or for a twentieth of a second.
    void wait_for_progress();
    /// Returns how many bytes have been read so far.
    qint64 bytes_read() const { return all_bytes_read.load(std::memory_order_relaxed); }

private:
    void run(file_copier& copier);
    std::shared_ptr<copy_job> job_with_work() const;
    void finish(const std::shared_ptr<copy_job>& job);

    std::atomic<qint64> all_bytes_read{0};
    mutable std::mutex mutex;
    std::condition_variable work_arrived;
    std::condition_variable job_finished;
    std::deque<std::shared_ptr<copy_job>> jobs; ///< unfinished ones, the oldest first
    bool has_finished_job = false;
    bool ends = false;
    std::vector<std::unique_ptr<file_copier>> copiers;
    std::vector<std::thread> threads;
};
