#include "support/bulk/large_transfer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

#include <unistd.h>

namespace {

constexpr qint64 piece_bytes = qint64(1) << 20;

bool is_all_zero(const char* bytes, qint64 count)
{
    return bytes[0] == 0 && std::memcmp(bytes, bytes + 1, std::size_t(count - 1)) == 0;
}

/// What the threads share.
class transfer_work
{
public:
    transfer_work(int source_file, const content_status& source_status, int copy_file, qsizetype wanted_beginning,
                  const std::atomic<bool>& cancelled, std::atomic<qint64>& bytes_read)
        : source(source_file)
        , status(source_status)
        , copy(copy_file)
        , beginning_bytes(wanted_beginning)
        , cancel_requested(cancelled)
        , all_bytes_read(bytes_read)
        , end(source_status.size)
    {
    }

    /// Copies pieces until none is left that is wanted.
    void take_turns()
    {
        const auto piece = std::make_unique_for_overwrite<char[]>(std::size_t(piece_bytes));
        while (true) {
            const qint64 offset = next.fetch_add(piece_bytes);
            if (offset >= end.load()) {
                return;
            }
            if (cancel_requested.load(std::memory_order_relaxed)) {
                was_cancelled = true;
                end_at(offset, "", 0);
                return;
            }
            copy_piece(piece.get(), offset);
        }
    }

    /// Returns what came of it; only when all threads have ended.
    large_transfer_outcome outcome() const { return {end, step, error, was_cancelled, beginning}; }

    /// Returns how much was read, which is more than counts where something went wrong before it.
    qint64 bytes_read() const { return bytes; }

private:
    void copy_piece(char* piece, qint64 offset)
    {
        const qint64 wanted = std::min(piece_bytes, status.size - offset);
        ask_behind(source, offset, piece_bytes);
        qint64 read = 0;
        while (read < wanted) {
            const ssize_t got = ::pread(source, piece + read, std::size_t(wanted - read), off_t(offset + read));
            if (got < 0 && errno == EINTR) {
                continue;
            }
            if (got <= 0) {
                end_at(offset + read, got < 0 ? "read" : "", got < 0 ? errno : 0);
                break;
            }
            read += got;
        }
        all_bytes_read.fetch_add(read, std::memory_order_relaxed);
        bytes.fetch_add(read, std::memory_order_relaxed);
        if (offset == 0) {
            beginning = QByteArray(piece, std::min(beginning_bytes, qsizetype(read)));
        }
        qint64 written = 0;
        if (const int failed = read > 0 ? write_piece(copy, piece, read, offset, status, written) : 0; failed != 0) {
            end_at(offset + written, "write", failed);
        }
    }

    /// What counts is the first place where something went wrong, or nothing was done any more.
    void end_at(qint64 offset, const char* failed_step, int failed_error)
    {
        const std::lock_guard lock(mutex);
        if (offset < end) {
            end = offset;
            step = failed_step;
            error = failed_error;
        }
    }

    const int source;
    const content_status& status;
    const int copy;
    const qsizetype beginning_bytes;
    const std::atomic<bool>& cancel_requested;
    std::atomic<qint64>& all_bytes_read;
    std::atomic<qint64> bytes{0};
    std::atomic<qint64> next{0};
    std::atomic<bool> was_cancelled{false};
    std::mutex mutex; ///< of what follows, but for reading the end
    std::atomic<qint64> end;
    const char* step = "";
    int error = 0;
    QByteArray beginning; ///< of the thread that has the first piece
};

} // namespace

large_transfer_outcome transfer_in_turns(int source, const content_status& status, int copy, qsizetype beginning_bytes,
                                         const std::atomic<bool>& cancelled, std::atomic<qint64>& bytes_read)
{
    transfer_work work(source, status, copy, beginning_bytes, cancelled, bytes_read);
    {
        auto other = std::async(std::launch::async | std::launch::deferred, [&work] { work.take_turns(); });
        work.take_turns();
        other.get(); // a piece that it could not copy for want of memory must not be taken for copied
    }
    large_transfer_outcome outcome = work.outcome();
    bytes_read.fetch_sub(work.bytes_read() - outcome.bytes);
    return outcome;
}

bool can_take_turns()
{
    return std::thread::hardware_concurrency() > 1;
}

int write_piece(int copy, const char* piece, qint64 count, qint64 offset, const content_status& source, qint64& written)
{
    const bool ends_file = offset + count == source.size;
    if (source.allocated < source.size && !ends_file && is_all_zero(piece, count)) {
        written = count;
        return 0;
    }
    while (written < count) {
        const ssize_t put = ::pwrite(copy, piece + written, std::size_t(count - written), off_t(offset + written));
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put <= 0) {
            return put < 0 ? errno : ENOSPC;
        }
        written += put;
    }
    return 0;
}
