#include "host/files/quiet_reading.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#ifndef Q_OS_MACOS
#include <sys/sysmacros.h>
#endif
#include <unistd.h>
#ifdef Q_OS_MACOS
#include <sys/resource.h>
#endif

namespace {

file_time time_of(const auto& time)
{
    return {qint64(time.tv_sec), qint32(time.tv_nsec)};
}

entry_kind kind_of(quint32 mode)
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

#ifdef Q_OS_MACOS
constexpr int no_access_time = 0;

/// macOS has no flag for one file, but a policy for the whole process, which holds for links as well.
void keep_access_times()
{
    static const int set = setiopolicy_np(IOPOL_TYPE_VFS_ATIME_UPDATES, IOPOL_SCOPE_PROCESS, IOPOL_ATIME_UPDATES_OFF);
    Q_UNUSED(set)
}

using entry_status_record = struct stat;

bool look_at(int directory, const char* name, link_handling links, entry_status_record& status)
{
    return ::fstatat(directory, name, &status, links == link_handling::keep ? AT_SYMLINK_NOFOLLOW : 0) == 0;
}

bool look_at(int descriptor, entry_status_record& status)
{
    return ::fstat(descriptor, &status) == 0;
}

entry_facts facts_of(const entry_status_record& status, const QByteArray& name)
{
    entry_facts facts;
    facts.kind = kind_of(status.st_mode);
    facts.hidden = begins_with_dot(name) || (status.st_flags & UF_HIDDEN) != 0;
    facts.size = qint64(status.st_size);
    facts.modified = time_of(status.st_mtimespec);
    facts.accessed = time_of(status.st_atimespec);
    facts.changed = time_of(status.st_ctimespec);
    facts.born = time_of(status.st_birthtimespec);
    facts.mode = status.st_mode & 07777U;
    facts.owner = status.st_uid;
    facts.group = status.st_gid;
    facts.device = quint64(status.st_dev);
    facts.inode = quint64(status.st_ino);
    return facts;
}
#else
constexpr int no_access_time = O_NOATIME;

void keep_access_times() {}

using entry_status_record = struct statx;

bool look_at(int directory, const char* name, link_handling links, entry_status_record& status)
{
    const int flags = AT_NO_AUTOMOUNT | (links == link_handling::keep ? AT_SYMLINK_NOFOLLOW : 0);
    return ::statx(directory, name, flags, STATX_BASIC_STATS | STATX_BTIME, &status) == 0;
}

bool look_at(int descriptor, entry_status_record& status)
{
    return ::statx(descriptor, "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &status) == 0;
}

entry_facts facts_of(const entry_status_record& status, const QByteArray& name)
{
    entry_facts facts;
    facts.kind = kind_of(status.stx_mode);
    facts.hidden = begins_with_dot(name);
    facts.size = qint64(status.stx_size);
    facts.modified = time_of(status.stx_mtime);
    facts.accessed = time_of(status.stx_atime);
    facts.changed = time_of(status.stx_ctime);
    if ((status.stx_mask & STATX_BTIME) != 0) {
        facts.born = time_of(status.stx_btime);
    }
    facts.mode = status.stx_mode & 07777U;
    facts.owner = status.stx_uid;
    facts.group = status.stx_gid;
    facts.device = quint64(makedev(status.stx_dev_major, status.stx_dev_minor));
    facts.inode = quint64(status.stx_ino);
    return facts;
}
#endif

int open_quietly(int directory, const QByteArray& name, int flags)
{
    keep_access_times();
    const int descriptor = ::openat(directory, name.constData(), flags | no_access_time);
    // Only the owner and the superuser may ask for this; for anybody else a readable file must still be read.
    if (descriptor >= 0 || errno != EPERM || no_access_time == 0) {
        return descriptor;
    }
    return ::openat(directory, name.constData(), flags);
}

entry_facts known_facts(const entry_status_record& status, const QByteArray& name)
{
    entry_facts facts = facts_of(status, name);
    if (facts.kind != entry_kind::file) {
        facts.size = 0;
    }
    return facts;
}

/// Calls `take` with name and type of each entry of an open directory; returns the errno of a failure, 0 for none.
template <typename visitor>
int for_each_name(int directory, const visitor& take)
{
#ifdef Q_OS_MACOS
    file_descriptor copy(::fcntl(directory, F_DUPFD_CLOEXEC, 0));
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(copy.is_open() ? ::fdopendir(copy.get()) : nullptr, ::closedir);
    if (!stream) {
        return errno;
    }
    copy.release();
    errno = 0;
    while (const dirent* entry = ::readdir(stream.get())) {
        take(entry->d_name, entry->d_type);
        errno = 0;
    }
    return errno;
#else
    // A stream would take three calls more, and memory of its own, for each of very many directories.
    alignas(dirent64) std::array<char, 32'768> buffer;
    ssize_t filled = 0;
    while ((filled = ::getdents64(directory, buffer.data(), buffer.size())) > 0) {
        for (ssize_t at = 0; at < filled;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(buffer.data() + at);
            take(entry->d_name, entry->d_type);
            at += entry->d_reclen;
        }
    }
    return filled == 0 || errno == ENOENT ? 0 : errno; // one that was removed meanwhile has no more entries
#endif
}

/// Calls `take` for each entry but "." and ".."; a failure is told by the listing. Returns the directory, still open.
template <typename listing_type, typename visitor>
file_descriptor read_directory(const QByteArray& path, listing_type& listing, const visitor& take)
{
    file_descriptor directory(open_quietly(AT_FDCWD, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto take_child = [&](const char* name, unsigned char type) {
        if (const std::string_view text(name); text != "." && text != "..") {
            take(directory.get(), name, type);
        }
    };
    listing.error_number = directory.is_open() ? for_each_name(directory.get(), take_child) : errno;
    if (listing.error_number != 0) {
        listing.error = system_error_text(listing.error_number);
    }
    return directory;
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

void file_descriptor::close()
{
    if (is_open()) {
        ::close(release());
    }
}

entry_facts quiet_stat_at(int directory, const QByteArray& name, link_handling links)
{
    entry_status_record status = {};
    if (look_at(directory, name.constData(), links, status)) {
        return known_facts(status, name);
    }
    entry_facts facts;
    facts.error_number = errno;
    facts.kind = errno == ENOENT || errno == ENOTDIR || errno == ELOOP ? entry_kind::absent : entry_kind::unknown;
    facts.hidden = begins_with_dot(name);
    facts.error = system_error_text(facts.error_number);
    return facts;
}

directory_listing quiet_list(const QByteArray& path)
{
    directory_listing listing;
    std::vector<QByteArray> names; // which are sorted more easily than with all that is known of each
    const file_descriptor directory =
        read_directory(path, listing, [&names](int, const char* name, unsigned char) { names.emplace_back(name); });
    std::sort(names.begin(), names.end());
    listing.entries.reserve(names.size());
    for (QByteArray& name : names) {
        entry_facts facts = quiet_stat_at(directory.get(), name, link_handling::keep);
        listing.entries.push_back({std::move(name), std::move(facts)});
    }
    return listing;
}

kinds_listing quiet_kinds(const QByteArray& path)
{
    kinds_listing listing;
    read_directory(path, listing, [&listing](int directory, const char* name, unsigned char type) {
        // Not every file system tells the kind with the name.
        const entry_kind kind = type == DT_UNKNOWN ? quiet_stat_at(directory, name, link_handling::keep).kind
                                                   : kind_of(static_cast<quint32>(DTTOIF(type)));
        listing.entries.push_back({QByteArray(name), kind});
    });
    return listing;
}

quiet_file quiet_open_at(int directory, const QByteArray& name, link_handling links)
{
    quiet_file file;
    // Without O_NONBLOCK a fifo would be waited for.
    int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
    if (links == link_handling::keep) {
        flags |= O_NOFOLLOW;
    }
    file.descriptor = file_descriptor(open_quietly(directory, name, flags));
    entry_status_record status = {};
    if (!file.descriptor.is_open() || !look_at(file.descriptor.get(), status)) {
        const bool is_refused_link = errno == ELOOP && links == link_handling::keep;
        file.error_number = is_refused_link ? 0 : errno;
        file.error = is_refused_link ? refusal(entry_kind::link) : system_error_text(file.error_number);
        file.descriptor.close();
        return file;
    }
    file.facts = known_facts(status, name);
    if (file.facts.kind != entry_kind::file) {
        file.error = refusal(file.facts.kind);
        file.descriptor.close();
    }
    return file;
}

entry_facts quiet_stat(const QByteArray& path, link_handling links)
{
    return quiet_stat_at(AT_FDCWD, path, links);
}

quiet_file quiet_open(const QByteArray& path, link_handling links)
{
    return quiet_open_at(AT_FDCWD, path, links);
}

quiet_data quiet_read_head(const quiet_file& file, qsizetype length)
{
    if (!file.error.isEmpty()) {
        return {{}, file.error, file.error_number};
    }
    quiet_data result;
    result.data.resize(length);
    qsizetype filled = 0;
    while (filled < length) {
        const ssize_t got = ::read(file.descriptor.get(), result.data.data() + filled, size_t(length - filled));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return {{}, system_error_text(errno), errno};
        }
        if (got == 0) {
            break;
        }
        filled += got;
    }
    result.data.truncate(filled);
    return result;
}

quiet_data quiet_read_head(const QByteArray& path, qsizetype length, link_handling links)
{
    return quiet_read_head(quiet_open(path, links), length);
}

quiet_data quiet_read(const quiet_file& file, qint64 limit)
{
    if (!file.error.isEmpty()) {
        return {{}, file.error, file.error_number};
    }
    if (file.facts.size > limit) {
        return {{}, QStringLiteral("is larger than %1 bytes").arg(limit)};
    }
    quiet_data content = quiet_read_head(file, qsizetype(file.facts.size));
    if (content.error.isEmpty() && content.data.size() != file.facts.size) {
        return {{}, QStringLiteral("ended at byte %1 of %2").arg(content.data.size()).arg(file.facts.size)};
    }
    return content;
}

quiet_data quiet_read(const QByteArray& path, qint64 limit, link_handling links)
{
    return quiet_read(quiet_open(path, links), limit);
}

entry_facts quiet_facts(const file_descriptor& descriptor)
{
    entry_status_record status = {};
    if (look_at(descriptor.get(), status)) {
        return known_facts(status, {});
    }
    entry_facts facts;
    facts.error = system_error_text(errno);
    return facts;
}

void drop_cached_pages(const file_descriptor& descriptor)
{
#ifdef Q_OS_MACOS
    ::fcntl(descriptor.get(), F_NOCACHE, 1);
#else
    static_cast<void>(::posix_fadvise(descriptor.get(), 0, 0, POSIX_FADV_DONTNEED));
#endif
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
