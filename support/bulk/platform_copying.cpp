#include "support/bulk/platform_copying.h"

#include <cerrno>
#include <cstdio>

#include <climits>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#ifdef Q_OS_MACOS
#include <sys/clonefile.h>
#include <sys/resource.h>
#else
#include <linux/fs.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#endif

namespace {

constexpr mode_t owner_only = 0600;

/// Calls until no signal comes in between.
template <typename call>
auto uninterrupted(call make)
{
    auto result = make();
    while (result < 0 && errno == EINTR) {
        result = make();
    }
    return result;
}

owned_descriptor open_at(int directory, const char* name, int flags, mode_t mode = 0)
{
    return owned_descriptor(uninterrupted([&] { return ::openat(directory, name, flags | O_CLOEXEC, mode); }));
}

int link_flag(link_rule links)
{
    return links == link_rule::follow ? 0 : O_NOFOLLOW;
}

content_kind kind_of(mode_t mode)
{
    switch (mode & S_IFMT) {
    case S_IFREG:
        return content_kind::file;
    case S_IFDIR:
        return content_kind::directory;
    case S_IFLNK:
        return content_kind::link;
    default:
        return content_kind::other;
    }
}

content_status status_from(const struct stat& status)
{
    constexpr qint64 block_bytes = 512;
    content_status result;
    result.kind = kind_of(status.st_mode);
    result.size = qint64(status.st_size);
    result.allocated = qint64(status.st_blocks) * block_bytes;
    result.permissions = status.st_mode & 0777;
    result.device = quint64(status.st_dev);
#ifdef Q_OS_MACOS
    result.modified = status.st_mtimespec;
    result.changed = status.st_ctimespec;
    result.hidden_by_flag = (status.st_flags & UF_HIDDEN) != 0;
#else
    result.modified = status.st_mtim;
    result.changed = status.st_ctim;
#endif
    return result;
}

bool same_time(const timespec& one, const timespec& other)
{
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

} // namespace

bool owned_descriptor::close()
{
    // Not made again when interrupted: the number may already be another thread's.
    return !is_open() || ::close(release()) == 0 || errno == EINTR;
}

bool content_status::differs_from(const content_status& earlier) const
{
    return size != earlier.size || !same_time(modified, earlier.modified) || !same_time(changed, earlier.changed);
}

bool status_of(int descriptor, content_status& status)
{
    struct stat facts = {};
    if (uninterrupted([&] { return ::fstat(descriptor, &facts); }) != 0) {
        return false;
    }
    status = status_from(facts);
    return true;
}

bool status_at(int directory, const char* name, link_rule links, content_status& status)
{
    struct stat facts = {};
    const int flags = links == link_rule::follow ? 0 : AT_SYMLINK_NOFOLLOW;
    if (uninterrupted([&] { return ::fstatat(directory, name, &facts, flags); }) != 0) {
        return false;
    }
    status = status_from(facts);
    return true;
}

qsizetype path_limit()
{
    return PATH_MAX;
}

int current_directory()
{
    return AT_FDCWD;
}

unsigned permissions_of_copy(const content_status& source)
{
    // A copy that its owner could not read would be of no use.
    return source.permissions | S_IRUSR;
}

owned_descriptor create_file(int directory, const char* name, unsigned permissions)
{
    return open_at(directory, name, O_RDWR | O_CREAT | O_EXCL, mode_t(permissions));
}

bool set_permissions(int descriptor, unsigned permissions)
{
    return uninterrupted([&] { return ::fchmod(descriptor, mode_t(permissions)); }) == 0;
}

bool set_time(int descriptor, const timespec& modified)
{
    const timespec times[] = {{0, UTIME_OMIT}, modified};
    return uninterrupted([&] { return ::futimens(descriptor, times); }) == 0;
}

#ifdef Q_OS_MACOS

bool hides_by_flag()
{
    return true;
}

owned_descriptor open_directory(int directory, const char* name, link_rule links)
{
    return open_at(directory, name, O_RDONLY | O_DIRECTORY | link_flag(links));
}

owned_descriptor open_destination(int directory, const char* name)
{
    return open_at(directory, name, O_RDONLY | O_DIRECTORY);
}

owned_descriptor open_source(int directory, const char* name, link_rule links)
{
    // The only way not to change access times is a policy of the calling thread.
    thread_local const int policy =
        setiopolicy_np(IOPOL_TYPE_VFS_ATIME_UPDATES, IOPOL_SCOPE_THREAD, IOPOL_ATIME_UPDATES_OFF);
    Q_UNUSED(policy)
    return open_at(directory, name, O_RDONLY | O_NONBLOCK | link_flag(links));
}

bool reads_on_demand(int)
{
    return false;
}

void ask_for_beginning(int) {}

void ask_behind(int, qint64, qint64) {}

owned_descriptor create_nameless_file(int)
{
    errno = ENOTSUP;
    return {};
}

bool give_name(int, int, const char*)
{
    errno = ENOTSUP;
    return false;
}

owned_descriptor create_clone(int source, int directory, const char* name)
{
    if (::fclonefileat(source, directory, name, CLONE_NOFOLLOW | CLONE_NOOWNERCOPY) != 0) {
        errno = errno == EEXIST ? EEXIST : ENOTSUP;
        return {};
    }
    owned_descriptor clone = open_at(directory, name, O_RDONLY | O_NOFOLLOW);
    if (!clone.is_open()) {
        const int reason = errno;
        ::unlinkat(directory, name, 0);
        errno = reason;
    }
    return clone;
}

bool share_content(int, int)
{
    return false;
}

bool sync_file_system(const char* directory)
{
    const owned_descriptor descriptor = open_at(AT_FDCWD, directory, O_RDONLY | O_DIRECTORY);
    return descriptor.is_open() && ::fsync_volume_np(descriptor.get(), SYNC_VOLUME_FULLSYNC | SYNC_VOLUME_WAIT) == 0;
}

#else

bool hides_by_flag()
{
    return false;
}

/// Only the owner and the superuser may ask to leave the access time; anybody else must still be able to read.
static owned_descriptor open_quietly(int directory, const char* name, int flags)
{
    owned_descriptor descriptor = open_at(directory, name, flags | O_NOATIME);
    if (!descriptor.is_open() && errno == EPERM) {
        descriptor = open_at(directory, name, flags);
    }
    return descriptor;
}

owned_descriptor open_directory(int directory, const char* name, link_rule links)
{
    return open_quietly(directory, name, O_RDONLY | O_DIRECTORY | link_flag(links));
}

owned_descriptor open_destination(int directory, const char* name)
{
    return open_at(directory, name, O_PATH | O_DIRECTORY);
}

owned_descriptor open_source(int directory, const char* name, link_rule links)
{
    return open_quietly(directory, name, O_RDONLY | O_NONBLOCK | O_NOCTTY | link_flag(links));
}

bool reads_on_demand(int directory)
{
    struct statfs system = {};
    return ::fstatfs(directory, &system) != 0 || (system.f_type != TMPFS_MAGIC && system.f_type != RAMFS_MAGIC);
}

void ask_for_beginning(int descriptor)
{
    constexpr off_t beginning = 262'144; // from there on the system sees that the file is read in order
    static_cast<void>(::posix_fadvise(descriptor, 0, beginning, POSIX_FADV_WILLNEED));
}

void ask_behind(int descriptor, qint64 offset, qint64 bytes)
{
    // What the system reads ahead by itself falls short on a disk that is being written to as well.
    constexpr qint64 far_enough = qint64(16) << 20;
    static_cast<void>(::posix_fadvise(descriptor, off_t(offset + far_enough), off_t(bytes), POSIX_FADV_WILLNEED));
}

owned_descriptor create_nameless_file(int directory)
{
    // A name is given through /proc, which some closed-off environments do not have.
    static const bool can_be_named = ::access("/proc/self/fd", F_OK) == 0;
    return can_be_named ? open_at(directory, ".", O_RDWR | O_TMPFILE, owner_only) : owned_descriptor();
}

bool give_name(int descriptor, int directory, const char* name)
{
    char path[32];
    std::snprintf(path, sizeof path, "/proc/self/fd/%d", descriptor);
    return ::linkat(AT_FDCWD, path, directory, name, AT_SYMLINK_FOLLOW) == 0;
}

owned_descriptor create_clone(int, int, const char*)
{
    errno = ENOTSUP;
    return {};
}

bool share_content(int source, int descriptor)
{
    return ::ioctl(descriptor, FICLONE, source) == 0;
}

bool sync_file_system(const char* directory)
{
    const owned_descriptor descriptor = open_at(AT_FDCWD, directory, O_RDONLY | O_DIRECTORY);
    return descriptor.is_open() && uninterrupted([&] { return ::syncfs(descriptor.get()); }) == 0;
}

#endif
