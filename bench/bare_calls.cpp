#include "bench/bare_calls.h"

#include "host/files/all_cores.h"
#include "host/files/durable_file.h"
#include "host/files/file_copy.h"
#include "host/files/hashing.h"
#include "host/files/quiet_reading.h"

#include <QElapsedTimer>
#include <QFile>

#include <memory>
#include <vector>

#include <sqlite3.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t piece_bytes = 262'144;

void must(bool done, const char* what)
{
    if (!done) {
        qFatal("%s: %s", what, qPrintable(system_error_text(errno)));
    }
}

/// Calls `take` with the directory's descriptor and each name in it.
template <typename visitor>
void for_each_entry(const QByteArray& directory, const visitor& take)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(directory.constData()), ::closedir);
    must(stream != nullptr, directory.constData());
    while (const dirent* entry = ::readdir(stream.get())) {
        if (qstrcmp(entry->d_name, ".") != 0 && qstrcmp(entry->d_name, "..") != 0) {
            take(::dirfd(stream.get()), *entry);
        }
    }
}

/// Returns a tree's directories below its root by their paths relative to it, each after the one that it lies in.
std::vector<QByteArray> directories_of(const QByteArray& tree)
{
    std::vector<QByteArray> directories{QByteArray()};
    for (std::size_t at = 0; at < directories.size(); ++at) {
        const QByteArray here = directories[at];
        for_each_entry(tree + here, [&](int, const dirent& entry) {
            if (entry.d_type == DT_DIR) {
                directories.push_back(here + '/' + entry.d_name);
            }
        });
    }
    return directories;
}

/// Calls `work` with each file of a directory, opened for reading, and its name.
template <typename worker>
void for_each_file(const QByteArray& directory, const worker& work)
{
    for_each_entry(directory, [&work](int descriptor, const dirent& entry) {
        if (entry.d_type == DT_REG) {
            const file_descriptor file(::openat(descriptor, entry.d_name, O_RDONLY | O_CLOEXEC));
            must(file.is_open(), entry.d_name);
            work(file, entry.d_name);
        }
    });
}

/// Calls `work` on all cores with each directory of a tree; returns the seconds that took.
template <typename worker>
double seconds_for_each_directory(const QByteArray& tree, const worker& work)
{
    QElapsedTimer timer;
    timer.start();
    const std::vector<QByteArray> directories = directories_of(tree);
    for_each_on_all_cores(
        directories.size(), [&](std::size_t at) { work(tree + directories[at]); }, 1);
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

template <typename worker>
double seconds_for_each_file(const QByteArray& tree, const worker& work)
{
    return seconds_for_each_directory(tree, [&work](const QByteArray& directory) { for_each_file(directory, work); });
}

void copy_file(const file_descriptor& source, int directory, const char* name)
{
    thread_local std::vector<char> piece(piece_bytes);
    const entry_facts facts = quiet_facts(source);
    const file_descriptor copy(::openat(directory, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    must(copy.is_open() && facts.error.isEmpty(), name);
    for (qint64 left = facts.size; left > 0;) {
        const ssize_t got = ::read(source.get(), piece.data(), piece.size());
        must(got > 0 && ::write(copy.get(), piece.data(), std::size_t(got)) == got, name);
        left -= got;
    }
    must(set_modification_time(copy.get(), facts.modified) == 0 && ::fchmod(copy.get(), facts.mode) == 0, name);
}

} // namespace

double seconds_of_bare_walk(const QByteArray& tree)
{
    return seconds_for_each_directory(tree, [](const QByteArray& path) {
        for_each_entry(path, [](int directory, const dirent& entry) {
            struct stat status = {};
            must(::fstatat(directory, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0, entry.d_name);
        });
    });
}

double seconds_of_bare_copy(const QByteArray& tree, const QByteArray& destination)
{
    QElapsedTimer timer;
    timer.start();
    const std::vector<QByteArray> directories = directories_of(tree);
    for (const QByteArray& directory : directories) {
        must(::mkdir((destination + directory).constData(), 0700) == 0, directory.constData());
    }
    for_each_on_all_cores(
        directories.size(),
        [&](std::size_t at) {
            const file_descriptor target(
                ::open((destination + directories[at]).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            for_each_file(tree + directories[at], [&target](const file_descriptor& source, const char* name) {
                copy_file(source, target.get(), name);
            });
        },
        1);
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

double seconds_of_bare_rows(const QByteArray& tree, const QByteArray& database)
{
    QElapsedTimer timer;
    timer.start();
    ::unlink(database.constData());
    sqlite3* opened = nullptr;
    const bool is_open = sqlite3_open(database.constData(), &opened) == SQLITE_OK;
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> connection(opened, sqlite3_close);
    const auto execute = [&opened](const char* statement) {
        must(sqlite3_exec(opened, statement, nullptr, nullptr, nullptr) == SQLITE_OK, statement);
    };
    must(is_open, database.constData());
    execute("PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; CREATE TABLE file(path TEXT); BEGIN");
    sqlite3_stmt* prepared = nullptr;
    sqlite3_prepare_v2(opened, "INSERT INTO file VALUES(?)", -1, &prepared, nullptr);
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> insertion(prepared, sqlite3_finalize);
    for (const QByteArray& directory : directories_of(tree)) {
        for_each_entry(tree + directory, [&](int, const dirent& entry) {
            const QByteArray path = directory + '/' + entry.d_name;
            sqlite3_bind_text(prepared, 1, path.constData(), int(path.size()), SQLITE_STATIC);
            must(sqlite3_step(prepared) == SQLITE_DONE && sqlite3_reset(prepared) == SQLITE_OK, path.constData());
        });
    }
    execute("COMMIT");
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

double seconds_of_bare_hashing(const QByteArray& tree, bool from_disk)
{
    return seconds_for_each_file(tree, [from_disk](const file_descriptor& file, const char* name) {
        thread_local file_hasher hasher;
        if (from_disk) {
            drop_cached_pages(file);
        }
        must(hasher.hash(file.get(), [](qint64) { return false; }).error == 0, name);
    });
}

double seconds_of_bare_sync(const QByteArray& directory)
{
    QElapsedTimer timer;
    timer.start();
    flush_file_system(QFile::decodeName(directory));
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}
