#include "bench/bytes_read.h"

#include "bench/timed_command.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace {

qint64 returned(const QByteArray& line)
{
    return line.mid(line.lastIndexOf(" = ") + 3).split(' ').first().trimmed().toLongLong();
}

} // namespace

bytes_read bytes_read_below(const QString& directory, const QStringList& command, const QString& scratch)
{
    bytes_read found;
    if (QStandardPaths::findExecutable(QStringLiteral("strace")).isEmpty()) {
        return found;
    }
    const QString record = scratch + QStringLiteral("/calls");
    // Records that threads write at once would be split into two lines, so that each process has a file of its own.
    const QString calls_shown =
        QStringLiteral(
            "trace=read,pread64,readv,preadv,preadv2,copy_file_range,sendfile,splice,mmap,fsync,fdatasync,") +
        QStringLiteral("syncfs,sync,sync_file_range,msync");
    cost_of(QStringList{"strace", "-ff", "-y", "-s", "0", "-e", calls_shown, "-o", record} + command);
    // strace -y shows the path of each descriptor.
    const QByteArray mark = '<' + QFile::encodeName(directory) + '/';
    const QDir folder(scratch);
    for (const QString& name : folder.entryList({QStringLiteral("calls.*")})) {
        QFile calls(folder.filePath(name));
        found.is_measured = calls.open(QIODevice::ReadOnly);
        while (!calls.atEnd()) {
            const QByteArray line = calls.readLine();
            const QByteArray call = line.left(line.indexOf('('));
            if (call.contains("sync")) {
                found.syncs += line.contains(".db") || line.contains("sqlite") ? 0 : 1;
            } else if (line.contains(mark)) {
                // Of a mapping nobody sees what is read; it counts as a whole.
                found.bytes +=
                    call == "mmap" ? line.split(',').value(1).trimmed().toLongLong() : qMax<qint64>(returned(line), 0);
            }
        }
        calls.remove();
    }
    return found;
}
