#include "host/files/quiet_reading.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <memory>
#include <system_error>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#ifdef Q_OS_MACOS
#include <sys/resource.h>
#endif

namespace {

#ifdef Q_OS_MACOS
constexpr int no_access_time = 0;

/// macOS has no flag for one file, but a policy for the whole process, which holds for links as well.
void keep_access_times()
{
    static const int set = setiopolicy_np(IOPOL_TYPE_VFS_ATIME_UPDATES, IOPOL_SCOPE_PROCESS, IOPOL_ATIME_UPDATES_OFF);
    Q_UNUSED(set)
}

const timespec& modification_time(const struct stat& status)
{
    return status.st_mtimespec;
}

bool is_hidden_by_flag(const struct stat& status)
{
    return (status.st_flags & UF_HIDDEN) != 0;
}
#else
constexpr int no_access_time = O_NOATIME;

void keep_access_times() {}

const timespec& modification_time(const struct stat& status)
{
    return status.st_mtim;
}

bool is_hidden_by_flag(const struct stat&)
{
    return false;
}
#endif

/// A file system may hold times beyond the years 1677 to 2262; those become the nearest that the number can tell.
qint64 in_nanoseconds(const timespec& time)
{
    constexpr qint64 second = 1'000'000'000;
    constexpr qint64 last_second = std::numeric_limits<qint64>::max() / second - 1;
    if (time.tv_sec > last_second || time.tv_sec < -last_second) {
        return time.tv_sec > 0 ? std::numeric_limits<qint64>::max() : std::numeric_limits<qint64>::min();
    }
    return qint64(time.tv_sec) * second + time.tv_nsec;
}

int open_quietly(const QByteArray& path, int flags)
{
    keep_access_times();
    const int descriptor = ::open(path.constData(), flags | no_access_time);
    // Only the owner and the superuser may ask for this; for anybody else a readable file must still be read.
    if (descriptor >= 0 || errno != EPERM || no_access_time == 0) {
        return descriptor;
    }
    return ::open(path.constData(), flags);
}

entry_kind kind_of(mode_t mode)
{
    switch (mode & S_IFMT) {
    case S_IFREG:
        return entry_kind::file;
    case S_IFDIR:
        return entry_kind::directory;
    case S_IFLNK:
        return entry_kind::link;
    case S_IFIFO:
        return entry_kind::fifo;
    case S_IFSOCK:
        return entry_kind::socket;
    case S_IFCHR:
    case S_IFBLK:
        return entry_kind::device;
    default:
        return entry_kind::unknown;
    }
}

bool begins_with_dot(const QByteArray& path)
{
    return path.startsWith('.') || path.mid(path.lastIndexOf('/') + 1).startsWith('.');
}

entry_facts facts_of(const struct stat& status, const QByteArray& name)
{
    entry_facts facts;
    facts.kind = kind_of(status.st_mode);
    facts.hidden = begins_with_dot(name) || is_hidden_by_flag(status);
    facts.size = facts.kind == entry_kind::file ? qint64(status.st_size) : 0;
    facts.modified_ns = in_nanoseconds(modification_time(status));
    facts.device = quint64(status.st_dev);
    facts.inode = quint64(status.st_ino);
    return facts;
}

entry_facts facts_at(int directory, const QByteArray& name, link_handling links)
{
    struct stat status = {};
    if (::fstatat(directory, name.constData(), &status, links == link_handling::keep ? AT_SYMLINK_NOFOLLOW : 0) == 0) {
        return facts_of(status, name);
    }
    entry_facts facts;
    facts.kind = errno == ENOENT || errno == ENOTDIR || errno == ELOOP ? entry_kind::absent : entry_kind::unknown;
    facts.hidden = begins_with_dot(name);
    facts.error = system_error_text(errno);
    return facts;
}

QString refusal(entry_kind kind)
{
    return QStringLiteral("is no file: ") + kind_text(kind);
}

} // namespace

QString system_error_text(int error)
{
    return QString::fromLocal8Bit(std::generic_category().message(error).c_str());
}

QString kind_text(entry_kind kind)
{
    switch (kind) {
    case entry_kind::file:
        return QStringLiteral("file");
    case entry_kind::directory:
        return QStringLiteral("directory");
    case entry_kind::link:
        return QStringLiteral("symbolic link");
    case entry_kind::fifo:
        return QStringLiteral("named pipe");
    case entry_kind::socket:
        return QStringLiteral("socket");
    case entry_kind::device:
        return QStringLiteral("device");
    default:
        return QStringLiteral("of no known kind");
    }
}

file_descriptor& file_descriptor::operator=(file_descriptor&& other) noexcept
{
    if (this != &other) {
        close();
        number = other.release();
    }
    return *this;
}

int file_descriptor::release()
{
    return std::exchange(number, -1);
}

void file_descriptor::close()
{
    if (is_open()) {
        ::close(release());
    }
}

entry_facts quiet_stat(const QByteArray& path, link_handling links)
{
    return facts_at(AT_FDCWD, path, links);
}

bool quiet_is_readable(const QByteArray& path)
{
    return ::faccessat(AT_FDCWD, path.constData(), R_OK, AT_EACCESS) == 0;
}

directory_listing quiet_list(const QByteArray& path)
{
    directory_listing listing;
    file_descriptor descriptor(open_quietly(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(descriptor.is_open() ? ::fdopendir(descriptor.get()) : nullptr,
                                                     ::closedir);
    if (!stream) {
        listing.error = system_error_text(errno);
        return listing;
    }
    const int directory = descriptor.release();
    errno = 0;
    while (const dirent* entry = ::readdir(stream.get())) {
        QByteArray name(entry->d_name);
        if (name != "." && name != "..") {
            entry_facts facts = facts_at(directory, name, link_handling::keep);
            listing.entries.push_back({std::move(name), std::move(facts)});
        }
        errno = 0;
    }
    if (errno != 0) {
        listing.error = system_error_text(errno);
    }
    std::sort(listing.entries.begin(), listing.entries.end(),
              [](const named_entry& left, const named_entry& right) { return left.name < right.name; });
    return listing;
}

quiet_file quiet_open(const QByteArray& path, link_handling links)
{
    quiet_file file;
    // Without O_NONBLOCK a fifo would be waited for.
    int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
    if (links == link_handling::keep) {
        flags |= O_NOFOLLOW;
    }
    file.descriptor = file_descriptor(open_quietly(path, flags));
    struct stat status = {};
    if (!file.descriptor.is_open() || ::fstat(file.descriptor.get(), &status) != 0) {
        file.error =
            errno == ELOOP && links == link_handling::keep ? refusal(entry_kind::link) : system_error_text(errno);
        file.descriptor.close();
        return file;
    }
    file.facts = facts_of(status, path);
    if (file.facts.kind != entry_kind::file) {
        file.error = refusal(file.facts.kind);
        file.descriptor.close();
    }
    return file;
}

quiet_data quiet_read(const QByteArray& path, qint64 limit, link_handling links)
{
    const quiet_file file = quiet_open(path, links);
    if (!file.error.isEmpty()) {
        return {{}, file.error};
    }
    if (file.facts.size > limit) {
        return {{}, QStringLiteral("is larger than %1 bytes").arg(limit)};
    }
    quiet_data result;
    result.data.resize(qsizetype(file.facts.size));
    qsizetype filled = 0;
    while (filled < result.data.size()) {
        const ssize_t got =
            ::read(file.descriptor.get(), result.data.data() + filled, size_t(result.data.size() - filled));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return {{}, system_error_text(errno)};
        }
        if (got == 0) {
            break;
        }
        filled += got;
    }
    result.data.truncate(filled);
    return result;
}

QByteArray resolved_path(const QByteArray& path)
{
    const std::unique_ptr<char, void (*)(void*)> resolved(::realpath(path.constData(), nullptr), std::free);
    return QByteArray(resolved.get());
}

QByteArray link_text(const QByteArray& path)
{
    QByteArray text(4096, '\0');
    const ssize_t length = ::readlink(path.constData(), text.data(), size_t(text.size()));
    text.resize(length < 0 ? 0 : qsizetype(length));
    return text;
}
