#pragma once

#include <QString>
#include <QStringList>

/// What a command read of files below a directory.
struct bytes_read
{
    bool is_measured = false; ///< strace is there and may trace
    qint64 bytes = 0;
    qint64 syncs = 0; ///< calls that waited for the disk, whatever they are called; of files that are no database's
};

/// Runs a command under strace, its record in a file of `scratch`, and sums up what its calls read of files whose paths
/// begin with `directory`.
bytes_read bytes_read_below(const QString& directory, const QStringList& command, const QString& scratch);
