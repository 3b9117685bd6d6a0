#pragma once

#include "host/files/file_time.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <utility>
#include <vector>

// Looking at evidence without leaving traces. Here and in the .cpp alone stands what differs between the platforms.
// Paths are raw bytes in the file system's own encoding, because names in evidence need not be text. On Linux files
// and directories are opened so that their access times stay where that is permitted (owner or superuser); the access
// time of a symbolic link that is read or passed through can be kept only by mounting the source without access times.

enum class entry_kind
{
    file,
    directory,
    link,
    fifo,
    socket,
    device,
    absent,
    unknown
};

enum class link_handling
{
    keep,
    follow
};

/// What is known of one directory entry without opening it.
struct entry_facts
{
    entry_kind kind = entry_kind::unknown;
    bool hidden = false; ///< its own name or flag hides it, as the copy sees it; directories above are not considered
    qint64 size = 0;     ///< bytes of a file; 0 for any other kind
    file_time modified;  ///< of the content
    file_time accessed;
    file_time changed;             ///< of the inode
    std::optional<file_time> born; ///< creation; nothing where the file system does not tell
    quint32 mode = 0;              ///< permissions and the special bits, without the kind
    quint32 owner = 0;             ///< user number
    quint32 group = 0;             ///< group number
    quint64 device = 0;            ///< device and inode together identify the object
    quint64 inode = 0;
    QString error;        ///< why nothing is known; empty when the other fields hold
    int error_number = 0; ///< the system's number for `error`
};

struct named_entry
{
    QByteArray name;
    entry_facts facts;
};

struct named_kind
{
    QByteArray name;
    entry_kind kind = entry_kind::unknown;
};

struct kinds_listing
{
    std::vector<named_kind> entries; ///< in no order, without "." and ".."
    QString error;                   ///< why the listing is missing or incomplete; empty when it is whole
    int error_number = 0;            ///< the system's number for `error`
};

struct directory_listing
{
    std::vector<named_entry> entries; ///< sorted bytewise by name, without "." and ".."
    QString error;                    ///< why the listing is missing or incomplete; empty when it is whole
    int error_number = 0;             ///< the system's number for `error`
};

/// Owns a file descriptor and closes it.
class file_descriptor
{
public:
    file_descriptor() = default;
    explicit file_descriptor(int descriptor) : number(descriptor) {}
    file_descriptor(file_descriptor&& other) noexcept : number(other.release()) {}
    file_descriptor& operator=(file_descriptor&& other) noexcept
    {
        if (this != &other) {
            close();
            number = other.release();
        }
        return *this;
    }
    ~file_descriptor() { close(); }

    /// Returns the descriptor, -1 when there is none.
    int get() const { return number; }
    bool is_open() const { return number >= 0; }
    /// Hands the descriptor to the caller, who closes it from then on.
    int release() { return std::exchange(number, -1); }
    void close();

private:
    int number = -1;
};

struct quiet_file
{
    file_descriptor descriptor; ///< positioned at the start, for reading; not open when `error` says why
    entry_facts facts;          ///< taken from the open file
    QString error;
    int error_number = 0; ///< the system's number for `error`; 0 also for a refusal of our own
};

struct quiet_data
{
    QByteArray data;
    QString error;        ///< why `data` is empty; empty on success
    int error_number = 0; ///< the system's number for `error`; 0 also for a refusal of our own
};

/// Returns what is known now of an open file.
entry_facts quiet_facts(const file_descriptor& descriptor);

/// Has the system forget what it holds in memory of an open file, so that it is read from the disk; changed pages that
/// are not on the disk yet stay. Best effort.
void drop_cached_pages(const file_descriptor& descriptor);

/// Returns the system's words for an error number.
QString system_error_text(int error);

/// Returns what an entry is, in a word or two.
QString kind_text(entry_kind kind);

/// Tells what lies at `path`; `absent` (with the reason) when nothing does or when a followed link leads nowhere.
entry_facts quiet_stat(const QByteArray& path, link_handling links = link_handling::keep);

/// The same of a name in an open directory.
entry_facts quiet_stat_at(int directory, const QByteArray& name, link_handling links = link_handling::keep);

/// Lists a directory, following `path` itself when it is a link; the entries' facts are those of links themselves.
directory_listing quiet_list(const QByteArray& path);

/// Lists names and kinds of a directory's entries without looking at each.
kinds_listing quiet_kinds(const QByteArray& path);

/// Opens a regular file for reading. Anything else is refused with a reason, a fifo without waiting for its writer.
quiet_file quiet_open(const QByteArray& path, link_handling links = link_handling::keep);

/// The same of a name in an open directory.
quiet_file quiet_open_at(int directory, const QByteArray& name, link_handling links = link_handling::keep);

/// Reads the first bytes of a regular file, fewer than `length` only when it has no more.
quiet_data quiet_read_head(const QByteArray& path, qsizetype length, link_handling links = link_handling::keep);

/// The same of an open one, from where it stands; its error when it is not open.
quiet_data quiet_read_head(const quiet_file& file, qsizetype length);

/// Reads an open file whole; refuses one of more than `limit` bytes. Its error when it is not open.
quiet_data quiet_read(const quiet_file& file, qint64 limit);

/// Reads a regular file whole; refuses one of more than `limit` bytes.
quiet_data quiet_read(const QByteArray& path, qint64 limit, link_handling links = link_handling::keep);

/// Returns the absolute path with every link resolved, as this machine does it; empty when it leads nowhere.
QByteArray resolved_path(const QByteArray& path);

/// Returns the text a link holds, unresolved; empty when `path` is no link or cannot be read.
QByteArray link_text(const QByteArray& path);
