#include "host/evidence/evidence_copies.h"

#include "host/evidence/evidence_failure.h"
#include "host/evidence/write_ahead_log.h"
#include "host/files/file_tree.h"
#include "host/files/quiet_reading.h"
#include "host/text/display_text.h"

#include <QFile>

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char* copy_name = "copy.sqlite";
constexpr const char* whole_directory = "whole";
constexpr const char* alone_directory = "alone";
constexpr qsizetype piece_size = 1 << 20;

bool write_whole(int descriptor, const char* bytes, std::size_t count)
{
    while (count > 0) {
        const ssize_t written = ::write(descriptor, bytes, count);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        bytes += written;
        count -= std::size_t(written);
    }
    return true;
}

struct copy_outcome
{
    qint64 bytes = 0;
    QString error; ///< empty when the copy is whole
};

QString at_offset(const QString& reason, qint64 offset)
{
    return QStringLiteral("%1 at byte %2").arg(reason).arg(offset);
}

copy_outcome copy_content(const quiet_file& file, int target, const evidence_limits& limits)
{
    // Most stores are far smaller; one byte more shows that one has grown.
    QByteArray piece(std::min(piece_size, qsizetype(file.facts.size) + 1), Qt::Uninitialized);
    copy_outcome done;
    while (!limits.cancelled()) {
        const ssize_t got = ::read(file.descriptor.get(), piece.data(), std::size_t(piece.size()));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return {done.bytes, at_offset(system_error_text(errno), done.bytes)};
        }
        if (got == 0) {
            return done.bytes == file.facts.size
                       ? done
                       : copy_outcome{done.bytes,
                                      at_offset(QStringLiteral("changed while it was copied: ended"), done.bytes)};
        }
        if (done.bytes + got > limits.largest_file) {
            return {done.bytes, QStringLiteral("is larger than %1 bytes").arg(limits.largest_file)};
        }
        if (!write_whole(target, piece.constData(), std::size_t(got))) {
            return {done.bytes, QStringLiteral("the copy cannot be written: ") + system_error_text(errno)};
        }
        done.bytes += got;
    }
    return {done.bytes, QStringLiteral("cancelled")};
}

copy_outcome copy_file(const quiet_file& file, const QByteArray& to, const evidence_limits& limits)
{
    if (!file.error.isEmpty()) {
        return {0, file.error};
    }
    // A sparse file must not be read for hours before it is refused.
    if (file.facts.size > limits.largest_file) {
        return {0, QStringLiteral("is larger than %1 bytes").arg(limits.largest_file)};
    }
    const file_descriptor target(::open(to.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!target.is_open()) {
        return {0, QStringLiteral("the copy %1: ").arg(display_text(to)) + system_error_text(errno)};
    }
    return copy_content(file, target.get(), limits);
}

copy_outcome copy_file(const QByteArray& from, const content_place& copy_of, const QByteArray& to,
                       const evidence_limits& limits)
{
    copy_outcome copied;
    read_content(from, quiet_stat(from), copy_of, [&](const quiet_file& file) {
        ::unlink(to.constData());
        copied = copy_file(file, to, limits);
        return copied.error.isEmpty();
    });
    return copied;
}

/// Returns the beginning of the index beside a log.
QByteArray head_of_log_index(const QByteArray& path, const content_place& copy_of)
{
    quiet_data head;
    read_content(path, quiet_stat(path), copy_of, [&](const quiet_file& file) {
        head = quiet_read_head(file, log_index_head_size);
        return head.error.isEmpty();
    });
    return head.data;
}

QString problem_of(const QByteArray& path, const QString& reason)
{
    return QStringLiteral("%1: %2").arg(display_text(path), reason);
}

} // namespace

evidence_copies::evidence_copies(const QByteArray& source, const QByteArray& path, const QString& scratch,
                                 const evidence_limits& limits, const content_place& copy_of)
    : origin_text(display_text(path))
    , scratch_directory(scratch, origin_text)
{
    root = resolved_path(QFile::encodeName(scratch_directory.path()));
    if (root.isEmpty()) {
        throw evidence_failure(
            problem_of(path, QStringLiteral("cannot be copied: %1 cannot be resolved").arg(scratch_directory.path())));
    }
    const QByteArray resolved = resolved_path(path);
    if (!resolved.isEmpty() && !is_at_or_below(resolved, resolved_path(source))) {
        throw evidence_failure(QStringLiteral("%1: a link on the way leads out of the source").arg(origin_text));
    }
    const auto make_directory = [&](const char* name) {
        const QByteArray directory = child_path(root, name);
        if (::mkdir(directory.constData(), S_IRWXU) != 0) {
            throw evidence_failure(problem_of(
                path, QStringLiteral("cannot be copied: %1").arg(problem_of(directory, system_error_text(errno)))));
        }
    };
    make_directory(whole_directory);
    const copy_outcome database_copy = copy_file(path, copy_of, database(log_use::with_log), limits);
    if (!database_copy.error.isEmpty()) {
        throw evidence_failure(problem_of(path, database_copy.error));
    }
    copied_bytes = database_copy.bytes;
    for (const char* suffix : {"-wal", "-journal"}) {
        const QByteArray companion = path + suffix;
        if (quiet_stat(companion).kind == entry_kind::absent) {
            continue;
        }
        const copy_outcome copied = copy_file(companion, copy_of, database(log_use::with_log) + suffix, limits);
        copied_bytes += copied.bytes;
        if (!copied.error.isEmpty()) {
            // Half a log would be read as a shorter one.
            ::unlink((database(log_use::with_log) + suffix).constData());
            found_problems.append(problem_of(companion, copied.error));
            continue;
        }
        log_found = log_found || copied.bytes > 0;
        if (copied.bytes > 0 && qstrcmp(suffix, "-journal") == 0) {
            found_problems.append(problem_of(
                companion, QStringLiteral("an unfinished change lies beside the database; read rolled back")));
        }
        if (qstrcmp(suffix, "-wal") == 0) {
            const QByteArray index_head = head_of_log_index(path + "-shm", copy_of);
            const QString damage =
                passed_over_in_log(database(log_use::with_log) + suffix, index_head, limits.cancelled);
            found_problems += damage.isEmpty() ? QStringList() : QStringList(problem_of(companion, damage));
        }
    }
    if (log_found && limits.also_alone) {
        make_directory(alone_directory);
        const copy_outcome second =
            copy_file(quiet_open(database(log_use::with_log)), database(log_use::alone), limits);
        if (!second.error.isEmpty()) {
            throw evidence_failure(problem_of(path, second.error));
        }
    }
}

QByteArray evidence_copies::directory(log_use use) const
{
    return child_path(root, use == log_use::with_log || !log_found ? whole_directory : alone_directory);
}

QByteArray evidence_copies::database(log_use use) const
{
    return child_path(directory(use), copy_name);
}
