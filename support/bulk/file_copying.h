#pragma once

#include "support/bulk/copied_file.h"
#include "support/bulk/platform_copying.h"
#include "support/bulk/stream_hash.h"

#include <QString>

#include <atomic>
#include <future>
#include <memory>
#include <optional>

/// Learns from the first file that is made in a directory whether the permissions asked for are those that it gets, so
/// that they need not be set once more for each.
class given_permissions
{
public:
    /// True when a file just made with these permissions has them; asks the system no more often than it must.
    bool are(unsigned wanted, int new_file);

private:
    static constexpr unsigned unknown = ~0U;
    static constexpr unsigned withheld = ~1U;
    std::atomic<unsigned> known{unknown};
};

/// What a copy is made of, and what it is to be called.
struct copy_order
{
    int source_directory = -1;
    int destination_directory = -1; ///< -1 when there is none, for the reason in destination_error
    int destination_error = 0;
    const char* name = "";
    int opened_source = -1;       ///< the source where it is open already, which the copier then closes
    bool is_link = false;         ///< the source's content is behind a link
    bool source_path_fits = true; ///< the system takes the paths as they are, which descriptors do not show
    bool destination_path_fits = true;
    given_permissions* permissions = nullptr; ///< of files made in the destination's directory
};

/// What became of a copy, without its paths.
struct copy_outcome
{
    copied_file::outcome result = copied_file::outcome::failed;
    bool was_begun = true; ///< false when the cancel came first
    content_status source = {};
    qint64 bytes = 0; ///< bytes read
    QByteArray sha256 = {};
    QByteArray beginning = {};
    const char* step = "";
    int error = 0;
    qint64 offset = 0;
    bool is_left = false; ///< what was begun could not be taken away again
};

enum class content_hashing
{
    none,
    sha256
};

/// Copies files one after the other, each read once and, if asked for, hashed on the way. Each thread wants one of its
/// own.
class file_copier
{
public:
    /// Throws std::runtime_error when nothing can be hashed that should be. `cancelled` and `bytes_read` are shared and
    /// outlive it.
    file_copier(const std::atomic<bool>& cancelled, content_hashing hashing, std::atomic<qint64>& bytes_read);

    /// Copies a file; an existing destination is left alone. The copy gets the source's modification time and
    /// permissions. Whatever fails or is cancelled leaves nothing behind.
    copy_outcome copy(const copy_order& order);

private:
    class new_file;

    bool open_both(const copy_order& order, owned_descriptor& source, new_file& copy, copy_outcome& outcome);
    bool create(const copy_order& order, int source, new_file& copy, copy_outcome& outcome);
    bool transfer(int source, int copy, copy_outcome& outcome);
    bool transfer_large(int source, int copy, copy_outcome& outcome);
    void hash_piece(const char* piece, qint64 count, bool is_large, std::future<void>& hashing);
    bool settle_changed(new_file& copy, copy_outcome& outcome);
    static int set_attributes(const copy_order& order, const new_file& copy, const content_status& source);
    void finish(const copy_order& order, int source, new_file& copy, copy_outcome& outcome);

    const std::atomic<bool>& cancel_requested;
    std::atomic<qint64>& all_bytes_read;
    std::optional<stream_hash> hash;
    std::unique_ptr<char[]> buffer;
    std::unique_ptr<char[]> large_buffers; ///< two, once a large file came
    quint64 device_without_clones = 0;
    bool has_nameless_files = true;
};
