#include "host/files/durable_file.h"

#include "host/text/failure.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr qsizetype buffer_bytes = 262'144;

} // namespace

durable_file::durable_file(const QString& path)
    : target(QFile::encodeName(path))
    , unfinished(target + unfinished_ending + QByteArray::number(::getpid()))
{
    // One of a process that was killed, whose number came round again.
    ::unlink(unfinished.constData());
    descriptor = file_descriptor(::open(unfinished.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!descriptor.is_open()) {
        unfinished.clear();
        fail(errno);
    }
    setOpenMode(QIODevice::WriteOnly | QIODevice::Unbuffered);
}

durable_file::~durable_file()
{
    if (!unfinished.isEmpty()) {
        ::unlink(unfinished.constData());
    }
}

void durable_file::commit()
{
    write_out();
    if (first_error != 0) {
        fail(first_error);
    }
    if (const int error = flush_to_disk(descriptor.get()); error != 0) {
        fail(error);
    }
    // A network file system may tell only now that there was no room.
    if (::close(descriptor.release()) != 0 && errno != EINTR) {
        fail(errno);
    }
    if (::rename(unfinished.constData(), target.constData()) != 0) {
        fail(errno);
    }
    unfinished.clear();
    const qsizetype slash = target.lastIndexOf('/');
    if (const int error = flush_directory(slash < 0 ? "." : target.first(slash + 1)); error != 0) {
        fail(error);
    }
}

qint64 durable_file::readData(char* /*data*/, qint64 /*most*/)
{
    return -1;
}

qint64 durable_file::writeData(const char* data, qint64 length)
{
    pending.append(data, length);
    return pending.size() < buffer_bytes || write_out() ? length : -1;
}

bool durable_file::write_out()
{
    qsizetype written = 0;
    while (first_error == 0 && written < pending.size()) {
        const ssize_t put =
            ::write(descriptor.get(), pending.constData() + written, static_cast<size_t>(pending.size() - written));
        if (put > 0) {
            written += put;
        } else if (put == 0) {
            first_error = ENOSPC;
        } else if (errno != EINTR) {
            first_error = errno;
        }
    }
    pending.clear();
    return first_error == 0;
}

void durable_file::fail(int error) const
{
    refuse(QStringLiteral("cannot write %1: %2").arg(QFile::decodeName(target), system_error_text(error)));
}

void write_durably(const QString& path, const QByteArray& content)
{
    durable_file file(path);
    file.write(content);
    file.commit();
}

void flush_file_system(const QString& directory)
{
    const file_descriptor place(::open(QFile::encodeName(directory).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
#ifdef Q_OS_MACOS
    ::sync();
    const int error = place.is_open() ? flush_to_disk(place.get()) : errno;
#else
    const int error = place.is_open() && ::syncfs(place.get()) == 0 ? 0 : errno;
#endif
    if (error != 0) {
        refuse(QStringLiteral("cannot put %1 on the disk: %2").arg(directory, system_error_text(error)));
    }
}

int flush_to_disk(int descriptor)
{
#ifdef Q_OS_MACOS
    // fsync() only hands the data to the drive there.
    if (::fcntl(descriptor, F_FULLFSYNC) == 0) {
        return 0;
    }
#endif
    while (::fsync(descriptor) != 0) {
        if (errno != EINTR) {
            return errno == EINVAL || errno == ENOTSUP ? 0 : errno;
        }
    }
    return 0;
}

int flush_directory(const QByteArray& path)
{
    const file_descriptor directory(::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return directory.is_open() ? flush_to_disk(directory.get()) : errno;
}
