#pragma once

#include "host/files/durable_file.h"
#include "host/files/file_time.h"
#include "host/files/hashing.h"
#include "host/result/manifest_fields.h"
#include "host/result/result_paths.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QFile>
#include <QString>

#include <array>
#include <optional>

/// What became of one file below a Mail directory.
enum class entry_status : unsigned char
{
    copied,    ///< the copy has the same bytes
    kept,      ///< no copy of the plug-in's, but one of the program's own with the same bytes, among the evidence kept
    hidden,    ///< its name or a directory above it begins with "."; not copied, by rule, and not kept
    loose,     ///< it lies directly in the Mail directory; not copied, by rule, and not kept
    link,      ///< a link: its content was copied with the same bytes, or there was nothing to copy
    special,   ///< no file with content: a pipe, a socket, a device
    missing,   ///< a copy was due, and there is none
    different, ///< there is a copy with other bytes
    changed,   ///< size, time or content of the file changed while it was copied or read
    unreadable ///< the file, its directory or its copy cannot be read
};

inline constexpr std::array<const char*, 10> entry_status_names = {
    "copied", "kept", "hidden", "loose", "link", "special", "missing", "different", "changed", "unreadable"};

/// Returns the word that manifest and totals use for a status.
inline const char* entry_status_name(entry_status status)
{
    return entry_status_names[static_cast<std::size_t>(status)];
}

/// True for a file whose copy is due and is not there as it should be.
inline bool is_fault(entry_status status)
{
    return status >= entry_status::missing;
}

/// What the file system of the source tells of a file besides its content. Nothing stands for what it does not tell.
struct source_metadata
{
    std::optional<file_time> modified;
    std::optional<file_time> accessed; ///< before it was read
    std::optional<file_time> changed;  ///< of the inode
    std::optional<file_time> born;
    std::optional<quint32> mode; ///< permissions and the special bits
    std::optional<quint32> owner;
    std::optional<quint32> group;
    std::optional<quint64> inode;

    bool operator==(const source_metadata&) const = default;
};

/// Returns the metadata among the facts of an entry; nothing at all of one that could not be examined.
source_metadata metadata_of(const entry_facts& facts);

/// One file below a Mail directory, or another that a row rests on. Names are bytes as the file system has them.
struct manifest_entry
{
    QByteArray path; ///< relative to the source
    QByteArray copy; ///< relative to the result; empty when no copy is due
    QByteArray user; ///< the directory below "Users/"
    qint64 size = 0; ///< bytes
    source_metadata metadata;
    std::optional<sha256_digest> source_sha256; ///< nothing when it was not or could not be read
    std::optional<sha256_digest> copy_sha256;   ///< nothing when it was not or could not be read
    entry_status status = entry_status::copied;
    QByteArray reason; ///< one line; empty when the status says all

    bool operator==(const manifest_entry&) const = default;
};

/// True when the entry's copy holds the bytes of the source.
bool has_proven_copy(const manifest_entry& entry);

/// Writes a result's manifest and sums side by side. Both appear under their names when commit() returns, replacing
/// earlier ones, and not at all otherwise.
class manifest_writer
{
public:
    /// Opens both; their folder is created. Throws a failure.
    explicit manifest_writer(const result_paths& result);
    /// Appends an entry; the caller sees to the order. Only entries with a proven copy go into the sums.
    void write(const manifest_entry& entry);
    /// Completes both files. Throws a failure when something could not be written.
    void commit();

private:
    durable_file manifest;
    durable_file sums;
};

/// Reads a manifest entry by entry, so that its size does not matter.
class manifest_reader
{
public:
    /// Opens a manifest. Throws a failure when it cannot be read or has another header line.
    explicit manifest_reader(const QString& path);
    /// Returns the next entry; nothing at the end. Throws a failure that names a line that cannot be understood.
    std::optional<manifest_entry> next();
    /// Returns how many entries there are still, if all are sound: looks at none, and leaves none to be read.
    qint64 count_rest();

private:
    QByteArrayView next_line();

    QFile file;
    QByteArray piece; ///< of the file; the first line that is still to be read begins at `begin`
    qsizetype begin = 0;
    qsizetype filled = 0; ///< bytes of the piece
    qint64 line_number = 0;
};
