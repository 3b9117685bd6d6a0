// Preloaded into the program (LD_PRELOAD), this library fails one chosen system call, or only writes down which are
// made. It says so in words a trial can read back; everything is told to it by the environment:
//   FAULTS_ROOT   only calls on paths below this directory count; the paths below are relative to it
//   FAULTS_TRACE  file that gets a line "kind<TAB>path" for each call; a failed one has "FAILED<TAB>" before it. Paths
//                 stand there as patterns that FAULTS_PATH takes
//   FAULTS_KIND   kinds of the call to fail, as in the trace, separated by blanks; without it nothing fails
//   FAULTS_PATH   pattern (fnmatch) of its path
//   FAULTS_NUMBER which of the calls of that kind on such paths fails, from 1; with "+" behind it all from there on
//   FAULTS_FORM   an error number; or "short" (half of what was asked for), "end" (nothing more) for calls that move
//                 data; or, the call then going on, "signal:N", which raises signal N, and "clock:N",
//                 which puts the clock forward by N seconds
//   FAULTS_NEXT_  followed by KIND, PATH, NUMBER or FORM: a second call to fail, in the same words, counted from the
//   first failure on
// A Mac would insert it (DYLD_INSERT_LIBRARIES) with path_of() by F_GETPATH and the calls in an interpose section; it
// is built on Linux only.
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

// A program that does not end shall not fill the disk.
constexpr long longest_trace = 1'000'000;

enum class verdict
{
    pass,
    fail,
    shorten,
    end
};

std::string variable(const char* name)
{
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

/// One call that is to fail, told by variables that begin with `prefix`.
struct chosen_fault
{
    explicit chosen_fault(const std::string& prefix)
        : kinds(' ' + variable((prefix + "KIND").c_str()) + ' ')
        , pattern(variable((prefix + "PATH").c_str()))
        , form(variable((prefix + "FORM").c_str()))
        , number(variable((prefix + "NUMBER").c_str()))
    {
    }

    /// Counts the call when it is one of the chosen ones, and returns whether it is to fail.
    bool takes(const char* kind, const std::string& path)
    {
        if (kinds.find(' ' + std::string(kind) + ' ') == std::string::npos ||
            ::fnmatch(pattern.c_str(), path.c_str(), 0) != 0) {
            return false;
        }
        const long call = ++met;
        return call == first || (stays && call > first);
    }

    std::string kinds;
    std::string pattern;
    std::string form;
    std::string number;
    long first = std::atol(number.c_str());
    bool stays = !number.empty() && number.back() == '+';
    std::atomic<long> met = 0;
};

struct settings
{
    std::string root = variable("FAULTS_ROOT") + '/';
    chosen_fault fault{"FAULTS_"};
    chosen_fault next_fault{"FAULTS_NEXT_"};
    std::atomic<bool> has_failed = false;
    // By the bare call, so that the library does not meet itself.
    int trace = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, variable("FAULTS_TRACE").c_str(),
                                           O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600));
    std::atomic<long> written = 0;
    std::atomic<long> clock_ahead = 0; // seconds
};

settings& chosen()
{
    // Never destroyed: calls are made until the process is gone.
    static auto* const instance = new settings;
    return *instance;
}

std::string link_of(const char* path)
{
    char text[4096];
    const long length = ::syscall(SYS_readlinkat, AT_FDCWD, path, text, sizeof text);
    return length < 0 ? std::string() : std::string(text, static_cast<std::size_t>(length));
}

std::string path_of(int descriptor)
{
    return descriptor < 0 ? std::string() : link_of(("/proc/self/fd/" + std::to_string(descriptor)).c_str());
}

std::string path_of(DIR* stream)
{
    return stream == nullptr ? std::string() : path_of(::dirfd(stream));
}

std::string path_at(int directory, const char* path)
{
    if (path == nullptr || *path == '\0') {
        return path_of(directory);
    }
    if (*path == '/') {
        return path;
    }
    return (directory == AT_FDCWD ? link_of("/proc/self/cwd") : path_of(directory)) + '/' + path;
}

std::string path_at(const char* path)
{
    return path_at(AT_FDCWD, path);
}

std::string as_pattern(std::string_view path)
{
    std::string pattern;
    for (const char c : path) {
        if (std::strchr("*?[\\", c) != nullptr) {
            pattern += '\\';
        }
        pattern += c == '\n' || c == '\t' ? '?' : c;
    }
    return pattern;
}

/// Notes a call and decides what becomes of it; errno is set when it is to fail.
verdict meet(const char* kind, const std::string& path)
{
    // A sanitizer's runtime makes calls before there is an environment to read the settings from.
    if (environ == nullptr) {
        return verdict::pass;
    }
    settings& set = chosen();
    if (path.compare(0, set.root.size(), set.root) != 0) {
        return verdict::pass;
    }
    const int entry_errno = errno;
    const std::string below = path.substr(set.root.size());
    const bool is_next = set.has_failed && set.next_fault.takes(kind, below);
    const bool is_chosen = set.fault.takes(kind, below) || is_next;
    set.has_failed = set.has_failed || is_chosen;
    if (set.trace >= 0 && ++set.written < longest_trace) {
        const std::string line = (is_chosen ? "FAILED\t" : "") + std::string(kind) + '\t' + as_pattern(below) + '\n';
        ::syscall(SYS_write, set.trace, line.data(), line.size());
    }
    errno = entry_errno;
    if (!is_chosen) {
        return verdict::pass;
    }
    const std::string& form = is_next ? set.next_fault.form : set.fault.form;
    if (form.compare(0, 7, "signal:") == 0) {
        ::kill(::getpid(), std::atoi(form.c_str() + 7));
        return verdict::pass;
    }
    if (form.compare(0, 6, "clock:") == 0) {
        set.clock_ahead = std::atol(form.c_str() + 6);
        return verdict::pass;
    }
    if (form == "short" || form == "end") {
        return form == "end" ? verdict::end : verdict::shorten;
    }
    errno = std::atoi(form.c_str());
    return verdict::fail;
}

template <class function>
function* next_function(const char* name)
{
    return reinterpret_cast<function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

/// Defines the call `name`, under another name of its own so that no header is contradicted. `failed` is what it
/// returns when it is to fail. The spellings for large files are set to the same functions when the library is linked.
#define CALL(kind, failed, path, result, name, parameters, arguments)                                                  \
    extern "C" __attribute__((visibility("default"))) result failing_##name parameters __asm__(#name);                 \
    result failing_##name parameters                                                                                   \
    {                                                                                                                  \
        static auto* const next = next_function<result parameters>(#name);                                             \
        return meet(kind, path) == verdict::pass ? next arguments : (failed);                                          \
    }

/// The same for a call that moves `count` bytes, and may move fewer.
#define MOVING_CALL(kind, path, name, parameters, arguments)                                                           \
    extern "C" __attribute__((visibility("default"))) ssize_t failing_##name parameters __asm__(#name);                \
    ssize_t failing_##name parameters                                                                                  \
    {                                                                                                                  \
        static auto* const next = next_function<ssize_t parameters>(#name);                                            \
        const verdict found = meet(kind, path);                                                                        \
        count = found == verdict::shorten && count > 1 ? count / 2 : count;                                            \
        return found == verdict::fail ? -1 : found == verdict::end ? 0 : next arguments;                               \
    }

CALL("open", -1, path_at(name), int, open, (const char* name, int flags, unsigned mode), (name, flags, mode))
CALL("open", -1, path_at(at, name), int, openat, (int at, const char* name, int flags, unsigned mode),
     (at, name, flags, mode))
CALL("open", -1, path_at(name), int, __open_2, (const char* name, int flags), (name, flags))
CALL("open", -1, path_at(at, name), int, __openat_2, (int at, const char* name, int flags), (at, name, flags))
CALL("opendir", nullptr, path_at(name), DIR*, opendir, (const char* name), (name))
CALL("opendir", nullptr, path_of(fd), DIR*, fdopendir, (int fd), (fd))
CALL("readdir", nullptr, path_of(stream), struct dirent*, readdir, (DIR * stream), (stream))
CALL("readdir", -1, path_of(fd), ssize_t, getdents64, (int fd, void* buffer, size_t size), (fd, buffer, size))

CALL("stat", -1, path_at(name), int, stat, (const char* name, struct stat* buffer), (name, buffer))
CALL("stat", -1, path_at(name), int, lstat, (const char* name, struct stat* buffer), (name, buffer))
CALL("stat", -1, path_of(fd), int, fstat, (int fd, struct stat* buffer), (fd, buffer))
CALL("stat", -1, path_at(at, name), int, fstatat, (int at, const char* name, struct stat* buffer, int flags),
     (at, name, buffer, flags))
CALL("stat", -1, path_at(at, name), int, statx,
     (int at, const char* name, int flags, unsigned mask, struct statx* buffer), (at, name, flags, mask, buffer))
CALL("stat", -1, path_at(name), int, access, (const char* name, int mode), (name, mode))
CALL("stat", -1, path_at(at, name), int, faccessat, (int at, const char* name, int mode, int flags),
     (at, name, mode, flags))
CALL("statvfs", -1, path_at(name), int, statvfs, (const char* name, struct statvfs* buffer), (name, buffer))
CALL("realpath", nullptr, path_at(name), char*, realpath, (const char* name, char* buffer), (name, buffer))
CALL("readlink", -1, path_at(name), ssize_t, readlink, (const char* name, char* buffer, size_t size),
     (name, buffer, size))
CALL("readlink", -1, path_at(at, name), ssize_t, readlinkat, (int at, const char* name, char* buffer, size_t size),
     (at, name, buffer, size))

MOVING_CALL("read", path_of(fd), read, (int fd, void* data, size_t count), (fd, data, count))
MOVING_CALL("read", path_of(fd), __read_chk, (int fd, void* data, size_t count, size_t room), (fd, data, count, room))
MOVING_CALL("read", path_of(fd), pread, (int fd, void* data, size_t count, off_t at), (fd, data, count, at))
MOVING_CALL("read", path_of(fd), __pread64_chk, (int fd, void* data, size_t count, off_t at, size_t room),
            (fd, data, count, at, room))
MOVING_CALL("write", path_of(fd), write, (int fd, const void* data, size_t count), (fd, data, count))
MOVING_CALL("write", path_of(fd), pwrite, (int fd, const void* data, size_t count, off_t at), (fd, data, count, at))
MOVING_CALL("copy", path_of(from), copy_file_range,
            (int from, off_t* from_at, int to, off_t* to_at, size_t count, unsigned flags),
            (from, from_at, to, to_at, count, flags))
MOVING_CALL("copy", path_of(from), sendfile, (int to, int from, off_t* at, size_t count), (to, from, at, count))
CALL("mmap", MAP_FAILED, path_of(fd), void*, mmap,
     (void* address, size_t size, int access, int flags, int fd, off_t at), (address, size, access, flags, fd, at))

CALL("sync", -1, path_of(fd), int, fsync, (int fd), (fd))
CALL("sync", -1, path_of(fd), int, fdatasync, (int fd), (fd))
CALL("syncfs", -1, path_of(fd), int, syncfs, (int fd), (fd))
CALL("truncate", -1, path_of(fd), int, ftruncate, (int fd, off_t size), (fd, size))
CALL("rename", -1, path_at(to), int, rename, (const char* from, const char* to), (from, to))
CALL("rename", -1, path_at(at, to), int, renameat, (int from_at, const char* from, int at, const char* to),
     (from_at, from, at, to))
CALL("rename", -1, path_at(at, to), int, renameat2,
     (int from_at, const char* from, int at, const char* to, unsigned flags), (from_at, from, at, to, flags))
CALL("link", -1, path_at(to), int, link, (const char* from, const char* to), (from, to))
CALL("link", -1, path_at(at, to), int, linkat, (int from_at, const char* from, int at, const char* to, int flags),
     (from_at, from, at, to, flags))
CALL("unlink", -1, path_at(name), int, unlink, (const char* name), (name))
CALL("unlink", -1, path_at(at, name), int, unlinkat, (int at, const char* name, int flags), (at, name, flags))
CALL("unlink", -1, path_at(name), int, rmdir, (const char* name), (name))
CALL("unlink", -1, path_at(name), int, remove, (const char* name), (name))
CALL("mkdir", -1, path_at(name), int, mkdir, (const char* name, mode_t mode), (name, mode))
CALL("mkdir", -1, path_at(at, name), int, mkdirat, (int at, const char* name, mode_t mode), (at, name, mode))
CALL("times", -1, path_of(fd), int, futimens, (int fd, const struct timespec* times), (fd, times))
CALL("times", -1, path_at(at, name), int, utimensat,
     (int at, const char* name, const struct timespec* times, int flags), (at, name, times, flags))

// What was to be closed is closed all the same: that is how a failing close behaves.
CALL("close", (next(fd), -1), fd < 0 ? std::string() : path_of(fd), int, close, (int fd), (fd))

namespace {

template <class time>
int put_forward(int result, time* found)
{
    found->tv_sec += chosen().clock_ahead;
    return result;
}

} // namespace

// NOLINTBEGIN(bugprone-macro-parentheses): a list of parameters is none with a second pair.
#define CLOCK(name, parameters, arguments, is_shown)                                                                   \
    extern "C" __attribute__((visibility("default"))) int failing_##name parameters __asm__(#name);                    \
    int failing_##name parameters                                                                                      \
    {                                                                                                                  \
        static auto* const next = next_function<int parameters>(#name);                                                \
        return (is_shown) ? put_forward(next arguments, found) : next arguments;                                       \
    }
// NOLINTEND(bugprone-macro-parentheses)

CLOCK(clock_gettime, (clockid_t clock, struct timespec* found), (clock, found), clock == CLOCK_REALTIME)
CLOCK(gettimeofday, (struct timeval * found, void* zone), (found, zone), true)
