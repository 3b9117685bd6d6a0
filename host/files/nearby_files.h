#pragma once

#include "host/files/quiet_reading.h"

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
    /// Returns what quiet_open() would.
    quiet_file open(const QByteArray& path, link_handling links = link_handling::keep);

private:
    /// A file by the directory that is open and its name there.
    struct place
    {
        int directory;
        QByteArray name; ///< does not outlive the path
    };

    place place_of(const QByteArray& path);

    QByteArray directory;
    file_descriptor descriptor;
};
