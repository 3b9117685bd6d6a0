#pragma once

#include "host/files/quiet_reading.h"

#include <QIODevice>

/// Writes a file that appears under its name whole, checked and on the disk, or not at all: what is written goes into
/// an unfinished file beside it, which takes the name only when commit() has flushed it. No link is followed in the
/// name's last part. Without a commit the unfinished file is removed.
class durable_file : public QIODevice
{
public:
    /// Begins the file. Throws a failure that names the path and the reason.
    explicit durable_file(const QString& path);
    ~durable_file() override;

    /// Flushes the file and gives it its name, in the place of an earlier one. Throws a failure, also for a write that
    /// failed on the way; the earlier one is then still there.
    void commit();

private:
    qint64 readData(char* data, qint64 most) override;
    qint64 writeData(const char* data, qint64 length) override;
    bool write_out();
    [[noreturn]] void fail(int error) const;

    const QByteArray target;
    QByteArray unfinished;
    file_descriptor descriptor;
    QByteArray pending;
    int first_error = 0; ///< errno of the first write that failed
};

/// Begins the last part of an unfinished file's name.
inline constexpr const char* unfinished_ending = ".unfinished-";

/// Writes a whole file at once. Throws a failure.
void write_durably(const QString& path, const QByteArray& content);

/// Puts everything on the disk that was written to the file system of a directory. Throws a failure.
void flush_file_system(const QString& directory);

/// Returns the errno of flushing a file or directory to the disk, 0 for none. A file system that knows no flushing of
/// directories has nothing to flush.
int flush_to_disk(int descriptor);

/// Flushes the directory at `path`, so that names made or removed in it stay so. Returns an errno, 0 for none.
int flush_directory(const QByteArray& path);
