#pragma once

#include <QByteArray>

// The system calls that a work cannot do without, on all cores and with nothing else: no names are kept, nothing is
// written down, nothing is compared. What needs these calls cannot be faster than this on the same machine. Each
// returns the seconds it took; all end the program when a call fails.

/// Lists every directory of a tree and looks at each entry.
double seconds_of_bare_walk(const QByteArray& tree);
/// Copies a tree into a directory that is not there yet, with modification times and permissions.
double seconds_of_bare_copy(const QByteArray& tree, const QByteArray& destination);
/// Writes the path of every file of a tree into a database, on one core, as SQLite has only one writer.
double seconds_of_bare_rows(const QByteArray& tree, const QByteArray& database);
/// Reads every file of a tree, from the disk if it is asked for, and hashes it.
double seconds_of_bare_hashing(const QByteArray& tree, bool from_disk = false);
/// Waits until the file system of a directory is on the disk.
double seconds_of_bare_sync(const QByteArray& directory);
