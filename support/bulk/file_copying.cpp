#include "support/bulk/file_copying.h"

#include "support/bulk/large_transfer.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

namespace {

// Large enough that system calls do not count, small enough to stay in a core's cache.
constexpr qint64 buffer_bytes = 262'144;
// From here on it is worth a second thread that one piece is hashed while another is read and written.
constexpr qint64 large_file_bytes = qint64(16) << 20;
constexpr qint64 large_piece_bytes = qint64(1) << 20;

bool fail(copy_outcome& outcome, const char* step, int error, qint64 offset = 0)
{
    outcome.result = copied_file::outcome::failed;
    outcome.step = step;
    outcome.error = error;
    outcome.offset = offset;
    return false;
}

bool keep_existing(copy_outcome& outcome)
{
    outcome.result = copied_file::outcome::kept_existing;
    return false;
}

} // namespace

bool given_permissions::are(unsigned wanted, int new_file)
{
    const unsigned so_far = known.load(std::memory_order_relaxed);
    if (so_far == wanted || so_far == withheld) {
        return so_far == wanted;
    }
    content_status status;
    const bool has_them = status_of(new_file, status) && status.permissions == wanted;
    known.store(has_them ? wanted : withheld, std::memory_order_relaxed);
    return has_them;
}

/// A copy in the making, which is taken away again unless it is kept.
class file_copier::new_file
{
public:
    explicit new_file(const copy_order& order) : directory(order.destination_directory), name(order.name) {}
    ~new_file() { take_away(); }
    Q_DISABLE_COPY_MOVE(new_file)

    /// Removes it unless it is kept; false when it is left, without content if possible.
    bool take_away()
    {
        if (!has_name || kept) {
            return true;
        }
        has_name = false;
        if (::unlinkat(directory, name, 0) == 0) {
            return true;
        }
        // What cannot go shall at least not look whole.
        Q_UNUSED(::ftruncate(descriptor.get(), 0))
        return false;
    }

    /// Gives it its name if it has none, and keeps it.
    bool keep()
    {
        if (!has_name && !give_name(descriptor.get(), directory, name)) {
            return false;
        }
        has_name = true;
        kept = descriptor.close();
        return kept;
    }

    owned_descriptor descriptor;
    bool has_name = false;
    bool is_clone = false;
    bool was_made_with_permissions = false;

private:
    const int directory;
    const char* const name;
    bool kept = false;
};

file_copier::file_copier(const std::atomic<bool>& cancelled, content_hashing hashing, std::atomic<qint64>& bytes_read)
    : cancel_requested(cancelled)
    , all_bytes_read(bytes_read)
    , buffer(std::make_unique_for_overwrite<char[]>(std::size_t(buffer_bytes)))
{
    if (hashing == content_hashing::sha256) {
        hash.emplace();
    }
}

copy_outcome file_copier::copy(const copy_order& order)
{
    copy_outcome outcome;
    owned_descriptor source(order.opened_source);
    if (cancel_requested.load(std::memory_order_relaxed)) {
        outcome.was_begun = false;
        return outcome;
    }
    new_file copy(order);
    if (open_both(order, source, copy, outcome) &&
        transfer(source.get(), copy.is_clone ? -1 : copy.descriptor.get(), outcome)) {
        finish(order, source.get(), copy, outcome);
    }
    outcome.is_left = !copy.take_away();
    return outcome;
}

bool file_copier::open_both(const copy_order& order, owned_descriptor& source, new_file& copy, copy_outcome& outcome)
{
    if (!order.source_path_fits) {
        return fail(outcome, "open", ENAMETOOLONG);
    }
    if (!source.is_open()) {
        source = open_source(order.source_directory, order.name, order.is_link ? link_rule::follow : link_rule::refuse);
    }
    if (!source.is_open()) {
        fail(outcome, "open", errno);
        status_at(order.source_directory, order.name, link_rule::follow, outcome.source);
        return false;
    }
    if (!status_of(source.get(), outcome.source)) {
        return fail(outcome, "examine", errno);
    }
    if (outcome.source.kind != content_kind::file) {
        outcome.source.size = 0;
        return fail(outcome, "open", EINVAL);
    }
    if (order.destination_directory < 0) {
        return fail(outcome, "create directory", order.destination_error);
    }
    if (!order.destination_path_fits) {
        return fail(outcome, "create", ENAMETOOLONG);
    }
    return create(order, source.get(), copy, outcome);
}

bool file_copier::create(const copy_order& order, int source, new_file& copy, copy_outcome& outcome)
{
    const content_status& status = outcome.source;
    const bool may_be_cloned = status.size > 0 && status.device != device_without_clones;
    if (may_be_cloned) {
        copy.descriptor = create_clone(source, order.destination_directory, order.name);
        copy.is_clone = copy.has_name = copy.descriptor.is_open();
        if (!copy.is_clone && errno != ENOTSUP) {
            return errno == EEXIST ? keep_existing(outcome) : fail(outcome, "create", errno);
        }
    }
    // What takes more than a moment has no name until it is whole, so that not even a killed process leaves half of it.
    if (!copy.is_clone && has_nameless_files && status.size > buffer_bytes) {
        content_status existing;
        if (status_at(order.destination_directory, order.name, link_rule::refuse, existing)) {
            return keep_existing(outcome);
        }
        copy.descriptor = create_nameless_file(order.destination_directory);
        has_nameless_files = copy.descriptor.is_open();
    }
    if (!copy.descriptor.is_open()) {
        copy.descriptor = create_file(order.destination_directory, order.name, permissions_of_copy(status));
        copy.has_name = copy.was_made_with_permissions = copy.descriptor.is_open();
    }
    if (!copy.descriptor.is_open()) {
        return errno == EEXIST ? keep_existing(outcome) : fail(outcome, "create", errno);
    }
    if (may_be_cloned && !copy.is_clone) {
        copy.is_clone = share_content(source, copy.descriptor.get());
        device_without_clones = copy.is_clone ? device_without_clones : status.device;
    }
    return true;
}

/// Reads the source to the end it had when it was opened, hashes it if hashes are wanted and, unless `copy` is -1,
/// writes it.
bool file_copier::transfer(int source, int copy, copy_outcome& outcome)
{
    const bool is_large = outcome.source.size >= large_file_bytes;
    if (is_large && !hash && copy >= 0 && can_take_turns()) {
        return transfer_large(source, copy, outcome);
    }
    const qint64 piece_bytes = is_large ? large_piece_bytes : buffer_bytes;
    if (is_large && !large_buffers) {
        large_buffers = std::make_unique_for_overwrite<char[]>(std::size_t(2 * large_piece_bytes));
    }
    char* piece = is_large ? large_buffers.get() : buffer.get();
    // Whichever way this is left, its end waits for the work on a piece.
    std::future<void> hashing;
    if (hash) {
        hash->begin();
    }
    while (outcome.bytes < outcome.source.size) {
        if (cancel_requested.load(std::memory_order_relaxed)) {
            outcome.result = copied_file::outcome::cancelled;
            return false;
        }
        if (is_large) {
            ask_behind(source, outcome.bytes, piece_bytes);
        }
        const ssize_t got =
            ::read(source, piece, std::size_t(std::min(piece_bytes, outcome.source.size - outcome.bytes)));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return fail(outcome, "read", errno, outcome.bytes);
        }
        if (got == 0) {
            break;
        }
        if (hash) {
            hash_piece(piece, got, is_large, hashing);
        }
        if (outcome.bytes == 0) {
            outcome.beginning = QByteArray(piece, std::min(qsizetype(got), copied_file::beginning_bytes));
        }
        qint64 written = 0;
        const int error = copy < 0 ? 0 : write_piece(copy, piece, got, outcome.bytes, outcome.source, written);
        if (error != 0) {
            return fail(outcome, "write", error, outcome.bytes + written);
        }
        outcome.bytes += got;
        all_bytes_read.fetch_add(got, std::memory_order_relaxed);
        if (is_large) {
            piece = piece == large_buffers.get() ? piece + large_piece_bytes : large_buffers.get();
        }
    }
    if (hashing.valid()) {
        hashing.get();
    }
    outcome.sha256 = hash ? hash->end() : QByteArray();
    return true;
}

/// Hashes a piece; of a large file while it is being written, after the piece before.
void file_copier::hash_piece(const char* piece, qint64 count, bool is_large, std::future<void>& hashing)
{
    if (!is_large) {
        hash->take(piece, std::size_t(count));
        return;
    }
    if (hashing.valid()) {
        hashing.get();
    }
    hashing = std::async(std::launch::async | std::launch::deferred,
                         [this, piece, count] { hash->take(piece, std::size_t(count)); });
}

bool file_copier::transfer_large(int source, int copy, copy_outcome& outcome)
{
    large_transfer_outcome done =
        transfer_in_turns(source, outcome.source, copy, copied_file::beginning_bytes, cancel_requested, all_bytes_read);
    outcome.bytes = done.bytes;
    outcome.beginning = std::move(done.beginning);
    if (done.was_cancelled) {
        outcome.result = copied_file::outcome::cancelled;
        return false;
    }
    return done.error == 0 || fail(outcome, done.step, done.error, done.bytes);
}

/// Sees to it that the copy of a file that changed meanwhile is what was hashed.
bool file_copier::settle_changed(new_file& copy, copy_outcome& outcome)
{
    if (!copy.is_clone) {
        return ::ftruncate(copy.descriptor.get(), off_t(outcome.bytes)) == 0 || fail(outcome, "write", errno);
    }
    // The clone was made at once, the source read later.
    content_status clone;
    if (!status_of(copy.descriptor.get(), clone)) {
        return fail(outcome, "examine", errno);
    }
    all_bytes_read.fetch_sub(outcome.bytes, std::memory_order_relaxed);
    outcome.source.size = clone.size;
    outcome.bytes = 0;
    return transfer(copy.descriptor.get(), -1, outcome);
}

/// Returns 0 or an error number.
int file_copier::set_attributes(const copy_order& order, const new_file& copy, const content_status& source)
{
    const int descriptor = copy.descriptor.get();
    const unsigned permissions = permissions_of_copy(source);
    const bool has_permissions = copy.was_made_with_permissions && order.permissions->are(permissions, descriptor);
    int error = 0;
    if (!has_permissions && !set_permissions(descriptor, permissions)) {
        error = errno;
    }
    // The time comes last: it shows that a copy is whole.
    return set_time(descriptor, source.modified) ? error : errno;
}

/// Looks whether the source is still what it was, and makes the copy stay.
void file_copier::finish(const copy_order& order, int source, new_file& copy, copy_outcome& outcome)
{
    content_status now;
    if (!status_of(source, now)) {
        fail(outcome, "examine", errno, outcome.bytes);
        return;
    }
    const bool ends_early = outcome.bytes < std::min(outcome.source.size, now.size);
    const bool has_changed = ends_early || now.differs_from(outcome.source);
    if (has_changed && !settle_changed(copy, outcome)) {
        return;
    }
    outcome.result = has_changed ? copied_file::outcome::changed : copied_file::outcome::copied;
    const int attribute_error = set_attributes(order, copy, outcome.source);
    if (!copy.keep()) {
        if (errno == EEXIST && !copy.has_name) {
            keep_existing(outcome);
        } else {
            fail(outcome, "write", errno, outcome.bytes);
        }
        return;
    }
    if (ends_early) {
        outcome.step = "read";
        outcome.offset = outcome.bytes;
    } else if (attribute_error != 0) {
        outcome.step = "set time and permissions";
        outcome.error = attribute_error;
    }
}
