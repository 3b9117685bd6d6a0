#include "host/files/file_copy.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString at_offset(qint64 offset, const QString& reason)
{
    return QStringLiteral("at byte %1: %2").arg(QString::number(offset), reason);
}

/// Writes everything; returns an errno, 0 for none.
int write_all(int descriptor, const unsigned char* data, std::size_t length)
{
    while (length > 0) {
        const ssize_t put = ::write(descriptor, data, length);
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put <= 0) {
            return put < 0 ? errno : ENOSPC;
        }
        data += put;
        length -= static_cast<std::size_t>(put);
    }
    return 0;
}

/// Copies the bytes; the outcome says whether all went well.
file_copy_outcome copy_bytes(const quiet_file& from, int to, const std::function<bool(qint64 bytes)>& cancelled)
{
    file_copy_outcome outcome;
    outcome.modified = from.facts.modified;
    int write_error = 0;
    const file_hasher::outcome read =
        hasher_of_thread().hash(from.descriptor.get(), [&](const unsigned char* piece, qint64 bytes) {
            write_error = write_all(to, piece, static_cast<std::size_t>(bytes));
            outcome.was_cancelled = write_error == 0 && cancelled(bytes);
            return write_error != 0 || outcome.was_cancelled;
        });
    outcome.bytes = read.bytes;
    outcome.is_target_at_fault = write_error != 0;
    if (write_error != 0) {
        outcome.problem = at_offset(read.bytes, QStringLiteral("cannot write: ") + system_error_text(write_error));
    } else if (read.error != 0) {
        outcome.problem = at_offset(read.bytes, QStringLiteral("cannot read: ") + system_error_text(read.error));
    } else if (!outcome.was_cancelled && read.bytes != from.facts.size) {
        outcome.problem = at_offset(
            read.bytes, QStringLiteral("the file ended; it had %1 bytes when it was opened").arg(from.facts.size));
    } else if (!outcome.was_cancelled) {
        outcome.digest = read.digest;
    }
    return outcome;
}

/// Opens a new file, and makes the folders that it lies in; says why that cannot be done.
file_descriptor make_file(const QByteArray& path, QString& problem)
{
    const auto make = [&path] {
        return file_descriptor(::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666));
    };
    file_descriptor made = make();
    if (!made.is_open() && errno == ENOENT) {
        std::error_code unmade;
        std::filesystem::create_directories(path.first(path.lastIndexOf('/')).toStdString(), unmade);
        if (unmade) {
            problem = QStringLiteral("cannot create its folder: ") + system_error_text(unmade.value());
            return made;
        }
        made = make();
    }
    problem = made.is_open() ? QString() : QStringLiteral("cannot create the copy: ") + system_error_text(errno);
    return made;
}

} // namespace

file_copy_outcome copy_file(const QByteArray& source, const QByteArray& target, link_handling links,
                            const std::function<bool(qint64 bytes)>& cancelled)
{
    const quiet_file from = quiet_open(source, links);
    if (!from.error.isEmpty()) {
        return {0, {}, {}, from.error};
    }
    QString problem;
    const file_descriptor to = make_file(target, problem);
    if (!to.is_open()) {
        return {0, {}, {}, problem, true};
    }
    file_copy_outcome outcome = copy_bytes(from, to.get(), cancelled);
    if (outcome.digest) {
        if (const int error = set_modification_time(to.get(), from.facts.modified); error != 0) {
            outcome.problem = QStringLiteral("modification time not set: ") + system_error_text(error);
        }
        return outcome;
    }
    ::unlink(target.constData());
    return outcome;
}

int set_modification_time(int descriptor, const file_time& modified)
{
    std::array<timespec, 2> times{};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = static_cast<time_t>(modified.seconds);
    times[1].tv_nsec = modified.nanoseconds;
    return ::futimens(descriptor, times.data()) == 0 ? 0 : errno;
}
