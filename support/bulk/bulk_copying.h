#pragma once

#include "support/bulk/copied_file.h"
#include "support/bulk/copy_crew.h"
#include "support/bulk/tree_walk.h"

#include <deque>
#include <functional>

/// Copies directory trees with several threads: the files, places and refusals of a copy by QDir and QFile, one after
/// the other, and what became of each in the order of the walk, whatever the threads do.
///
/// Nothing here knows what is copied. All calls come from one thread, on which everything is reported. What is kept
/// does not grow with the tree, but with the directories beside those on the way down. Nothing is synced but by sync().
class bulk_copier : private tree_visitor
{
public:
    /// Is told what became of each file begun.
    using report = std::function<void(const copied_file&)>;

    /// Throws std::runtime_error when nothing can be hashed. No file is begun once `cancelled` is true, and one in work
    /// is taken away; any thread may set it, and it outlives the copier. `on_wait` is called every now and then while
    /// the calling thread has to wait.
    bulk_copier(const std::atomic<bool>& cancelled, content_hashing hashing, report reported,
                std::function<void()> on_wait);
    ~bulk_copier() override = default;
    Q_DISABLE_COPY_MOVE(bulk_copier)

    /// Copies the content of a directory into another, which is created. It may return before the last file is there;
    /// false when cancelled. The first file of all is copied alone, so that it can be reported before others are begun.
    bool copy_tree(const QByteArray& source, const QByteArray& destination);
    /// Waits until every file is copied and reported.
    void finish();
    /// Waits for all files, then until the destination's file system says that they are on the disk; reports when not.
    void sync(const QByteArray& destination);
    /// Returns how many bytes have been read of files that are not reported yet.
    qint64 bytes_in_work() const { return crew.bytes_read() - bytes_reported; }

private:
    /// A job, or what is to be reported at its place in the order.
    struct queued
    {
        std::shared_ptr<copy_job> job;
        copied_file notice;
        std::size_t reported = 0; ///< files of the job
    };

    void enter(const walked_directory_ptr& directory) override;
    bool take(walked_file file) override;
    bool end_files(int error) override;
    void miss(const QByteArray& path, int error) override;
    void release_descriptors() override { finish(); }

    void open_destination_of(const walked_directory& directory);
    void hand_over_files();
    void wait_for_room(std::size_t jobs, std::size_t files);
    void report_what_is_ready();
    void report_file(const copy_job& job, std::size_t file);
    void report_problem(copied_file::outcome result, const QByteArray& source, const QByteArray& destination,
                        const char* step, int error);

    const std::atomic<bool>& cancel_requested;
    report tell;
    std::function<void()> waiting;
    copy_crew crew;
    std::deque<queued> queue;
    std::size_t files_queued = 0;
    qint64 bytes_reported = 0;
    bool has_begun = false;

    walked_directory_ptr source_directory;
    std::vector<walked_file> files; ///< of source_directory, not yet handed over
    QByteArray destination_root;
    std::vector<std::shared_ptr<const copy_directory_end>> destinations; ///< on the way down, by depth
};
