#pragma once

#include "host/files/quiet_reading.h"

#include <deque>

enum class content_source
{
    anywhere,
    disk ///< nothing of it stays in memory from earlier
};

/// Looks at files and opens them, best those of one directory after the other: the way to each directory is resolved
/// once. Links on the way are followed. Each thread wants one of its own.
class nearby_files
{
public:
    /// True when this process may read the file at `path` (links followed) as far as permissions tell; opens nothing
    /// but the directory.
    bool may_read(const QByteArray& path);
    /// Returns what quiet_stat() would.
    entry_facts facts(const QByteArray& path);
    /// Returns what quiet_open() would, and what is read from it comes from there.
    quiet_file open(const QByteArray& path, link_handling links = link_handling::keep,
                    content_source from = content_source::anywhere);
    /// A file is going to be opened: asks the system to read it, without waiting, so that the disk always has something
    /// to do. Few are kept at a time.
    void ask_for(const QByteArray& path, link_handling links = link_handling::keep,
                 content_source from = content_source::anywhere);

private:
    /// A file that was opened before its turn.
    struct early_file
    {
        QByteArray path;
        link_handling links;
        content_source from;
        quiet_file file;
    };

    /// A file by the directory that is open and its name there.
    struct place
    {
        int directory;
        QByteArray name; ///< does not outlive the path
    };

    place place_of(const QByteArray& path);

    QByteArray directory;
    file_descriptor descriptor;
    std::deque<early_file> early; ///< the oldest first
};
