#include "host/cases/shared_files.h"

#include "host/files/durable_file.h"
#include "host/files/file_tree.h"
#include "host/files/quiet_reading.h"
#include "host/text/failure.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QUuid>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qint64 ns_in_second = 1'000'000'000;

claim_result ending_of_call(int returned)
{
    if (returned == 0) {
        return {claim::made, {}};
    }
    const int error = errno;
    const claim outcome = error == EEXIST ? claim::exists : error == ENOENT ? claim::gone : claim::failed;
    return {outcome, system_error_text(error)};
}

bool same_object(const struct stat& one, const struct stat& other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// A call over a network may have succeeded although its answer was lost and it was sent again: what counts is what is
/// there.
bool is_same_link(const QByteArray& one, const QByteArray& other)
{
    struct stat first
    {
    };
    struct stat second
    {
    };
    return ::lstat(one.constData(), &first) == 0 && ::lstat(other.constData(), &second) == 0 &&
           same_object(first, second);
}

claim_result link_and_look(const QByteArray& from, const QByteArray& to)
{
    claim_result result = ending_of_call(::linkat(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), 0));
    if (result.outcome == claim::exists && is_same_link(from, to)) {
        result.outcome = claim::made;
    }
    return result;
}

int rename_without_replacing(const char* from, const char* to)
{
#if defined(__APPLE__)
    return ::renamex_np(from, to, RENAME_EXCL);
#else
    return ::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE);
#endif
}

bool is_unknown_call(int error)
{
    return error == EINVAL || error == ENOSYS || error == ENOTSUP || error == EOPNOTSUPP;
}

qint64 written_ns_of(const struct stat& facts)
{
#if defined(__APPLE__)
    const timespec& time = facts.st_mtimespec;
#else
    const timespec& time = facts.st_mtim;
#endif
    constexpr qint64 farthest = std::numeric_limits<qint64>::max() / ns_in_second - 1;
    return std::clamp<qint64>(time.tv_sec, -farthest, farthest) * ns_in_second + time.tv_nsec;
}

/// Opening, unlike looking at the name, makes a network client ask the server anew.
file_descriptor open_shared(const QString& path, int mode)
{
    return file_descriptor(::open(QFile::encodeName(path).constData(), mode | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
}

QString line_for(const QString& path, const QString& reason)
{
    return path + QStringLiteral(": ") + reason;
}

/// Reads an open file to its end, but not beyond `most_bytes_of_record`.
QByteArray content_of_descriptor(int descriptor, QString& reason)
{
    QByteArray content;
    char piece[8192];
    for (;;) {
        const ssize_t count = ::pread(descriptor, piece, sizeof(piece), content.size());
        if (count == 0) {
            return content;
        }
        if (count < 0 && errno == EINTR) {
            continue;
        }
        content.append(piece, count > 0 ? count : 0);
        if (count < 0 || content.size() > most_bytes_of_record) {
            reason = count < 0 ? system_error_text(errno) : QStringLiteral("too large for what it should be");
            return {};
        }
    }
}

stamped_file read_open_file(const QString& path, int descriptor)
{
    stamped_file file;
    file.exists = true;
    struct stat facts
    {
    };
    QString reason;
    if (::fstat(descriptor, &facts) != 0) {
        reason = system_error_text(errno);
    } else if (!S_ISREG(facts.st_mode)) {
        reason = QStringLiteral("not a regular file");
    } else {
        file.written_ns = written_ns_of(facts);
        file.names = facts.st_nlink;
        file.content = content_of_descriptor(descriptor, reason);
    }
    file.error = reason.isEmpty() ? QString() : line_for(path, reason);
    return file;
}

/// Returns the errno of writing everything, 0 for none.
int write_whole(int descriptor, const QByteArray& content)
{
    qsizetype written = 0;
    while (written < content.size()) {
        const ssize_t count =
            ::write(descriptor, content.constData() + written, static_cast<size_t>(content.size() - written));
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        written += count > 0 ? count : 0;
    }
    return 0;
}

enum class lasting
{
    until_the_machine_goes_down, ///< nothing is synced: what a lease or a look at the clock needs is void by then
    on_the_disk
};

QString write_file_of_own(const QString& directory, const QByteArray& content, lasting how, QString& error)
{
    const QString path = directory + QStringLiteral("/.new-") + QUuid::createUuid().toString(QUuid::WithoutBraces);
    const QByteArray name = QFile::encodeName(path);
    const int descriptor = ::open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    int failed_with = descriptor < 0 ? errno : write_whole(descriptor, content);
    if (failed_with == 0 && how == lasting::on_the_disk) {
        failed_with = flush_to_disk(descriptor);
    }
    // Closing is what hands the content to a file server, and what tells that it has no room.
    if (descriptor >= 0 && ::close(descriptor) != 0 && failed_with == 0) {
        failed_with = errno;
    }
    if (failed_with == 0) {
        return path;
    }
    error = line_for(directory, QStringLiteral("no file can be written here: ") + system_error_text(failed_with));
    if (descriptor >= 0) {
        ::unlink(name.constData());
    }
    return {};
}

/// Writes a file under its name in one step, with the permissions of the one that it replaces.
void put_file(const QString& path, const QByteArray& content, lasting how)
{
    const auto require = [&path](bool is_done, const QString& reason) {
        if (!is_done) {
            refuse(QStringLiteral("cannot write %1: %2").arg(path, reason));
        }
    };
    QString error;
    const QString directory = QFileInfo(path).path();
    const QString file = write_file_of_own(directory, content, how, error);
    require(!file.isEmpty(), error);
    if (const entry_facts earlier = quiet_stat(QFile::encodeName(path)); earlier.kind == entry_kind::file) {
        ::chmod(QFile::encodeName(file).constData(), earlier.mode);
    }
    const claim_result renamed = rename_replacing(file, path);
    if (renamed.outcome != claim::made) {
        QFile::remove(file);
    }
    require(renamed.outcome == claim::made, renamed.error);
    if (how == lasting::on_the_disk) {
        const int unwritten = flush_directory(QFile::encodeName(directory));
        require(unwritten == 0, system_error_text(unwritten));
    }
}

} // namespace

claim_result link_exclusively(const QString& existing, const QString& name)
{
    return link_and_look(QFile::encodeName(existing), QFile::encodeName(name));
}

std::optional<claim_result> rename_link_by(renaming way, const QString& from, const QString& to)
{
    const QByteArray old_name = QFile::encodeName(from);
    const QByteArray new_name = QFile::encodeName(to);
    if (way == renaming::by_link) {
        const claim_result result = link_and_look(old_name, new_name);
        if (result.outcome == claim::made) {
            ::unlink(old_name.constData());
        }
        return result;
    }
    const int returned = rename_without_replacing(old_name.constData(), new_name.constData());
    if (returned != 0 && is_unknown_call(errno)) {
        return std::nullopt;
    }
    return ending_of_call(returned);
}

claim_result rename_link_exclusively(const QString& from, const QString& to)
{
    for (const renaming way : renamings) {
        if (const auto result = rename_link_by(way, from, to)) {
            return *result;
        }
    }
    return {};
}

claim_result rename_replacing(const QString& from, const QString& to)
{
    return ending_of_call(::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()));
}

claim_result make_directory(const QString& path)
{
    return ending_of_call(::mkdir(QFile::encodeName(path).constData(), 0777));
}

claim_result make_link(const QString& target, const QString& name)
{
    return ending_of_call(::symlink(QFile::encodeName(target).constData(), QFile::encodeName(name).constData()));
}

void forget_remembered_names(const QString& directory)
{
    const QByteArray name = QFile::encodeName(directory);
#if defined(__linux__)
    // A directory whose time is known to be new loses what is remembered of it.
    struct statx facts
    {
    };
    ::statx(AT_FDCWD, name.constData(), AT_STATX_FORCE_SYNC, STATX_MTIME, &facts);
#else
    // Opening it asks there.
    const file_descriptor opened(::open(name.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
#endif
}

QStringList names_in(const QString& directory)
{
    forget_remembered_names(directory);
    const directory_listing listing = list_kinds(QFile::encodeName(directory));
    if (!listing.error.isEmpty()) {
        refuse(QStringLiteral("cannot list %1: %2").arg(directory, listing.error));
    }
    QStringList names;
    for (const named_entry& entry : listing.entries) {
        names.append(QFile::decodeName(entry.name));
    }
    return names;
}

stamped_file read_stamped(const QString& path)
{
    // Opening a device may do something. Of what is not there, or is a file, only opening tells what it is by now.
    const entry_kind kind = quiet_stat(QFile::encodeName(path)).kind;
    if (kind != entry_kind::file && kind != entry_kind::absent && kind != entry_kind::unknown) {
        stamped_file file;
        file.exists = true;
        file.error = line_for(path, kind_text(kind) + QStringLiteral(", where a file should be"));
        return file;
    }
    const file_descriptor descriptor = open_shared(path, O_RDONLY);
    if (descriptor.is_open()) {
        return read_open_file(path, descriptor.get());
    }
    stamped_file file;
    const int error = errno;
    file.exists = error != ENOENT;
    if (file.exists) {
        file.error = line_for(path, system_error_text(error));
    }
    return file;
}

bool stamp_again(const QString& path, const QByteArray& content, QString& error)
{
    const file_descriptor descriptor = open_shared(path, O_RDWR);
    if (!descriptor.is_open()) {
        error = errno == ENOENT ? QString() : line_for(path, system_error_text(errno));
        return false;
    }
    const stamped_file file = read_open_file(path, descriptor.get());
    if (file.content != content || content.isEmpty()) {
        error = file.error;
        return false;
    }
    const qsizetype last = content.size() - 1;
    if (::pwrite(descriptor.get(), content.constData() + last, 1, last) == 1) {
        return true;
    }
    error = line_for(path, system_error_text(errno));
    return false;
}

QString write_private_file(const QString& directory, const QByteArray& content, QString& error)
{
    return write_file_of_own(directory, content, lasting::until_the_machine_goes_down, error);
}

std::optional<qint64> time_of_file_server(const QString& directory, QString& error)
{
    const QString probe = write_private_file(directory, "?", error);
    if (probe.isEmpty()) {
        return std::nullopt;
    }
    const stamped_file written = read_stamped(probe);
    QFile::remove(probe);
    error = written.error;
    return error.isEmpty() && written.exists ? std::optional(written.written_ns) : std::nullopt;
}

void write_lasting_file(const QString& path, const QByteArray& content)
{
    put_file(path, content, lasting::on_the_disk);
}

void write_record(const QString& path, const QJsonObject& object)
{
    write_lasting_file(path, QJsonDocument(object).toJson());
}

void write_passing_record(const QString& path, const QJsonObject& object)
{
    put_file(path, QJsonDocument(object).toJson(), lasting::until_the_machine_goes_down);
}

read_record_result read_record(const QString& path)
{
    const stamped_file file = read_stamped(path);
    if (!file.exists || !file.error.isEmpty()) {
        return {std::nullopt, file.error};
    }
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(file.content, &problem);
    if (document.isObject()) {
        return {document.object(), {}};
    }
    const QString reason = document.isNull() ? problem.errorString() : QStringLiteral("no object");
    return {std::nullopt, line_for(path, QStringLiteral("damaged (") + reason + QLatin1Char(')'))};
}
