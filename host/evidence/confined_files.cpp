#include "host/evidence/confined_files.h"

#include <sqlite3.h>

#include <atomic>
#include <map>

namespace {

/// The system's own handling of an open file but for the reading.
struct exact_reading
{
    sqlite3_io_methods methods = {}; // first, so that a file's methods lead here
    const sqlite3_io_methods* system = nullptr;

    static int read(sqlite3_file* file, void* data, int size, sqlite3_int64 begin)
    {
        const auto& own = *reinterpret_cast<const exact_reading*>(file->pMethods);
        sqlite3_int64 end = 0;
        const int code = own.system->xRead(file, data, size, begin);
        const bool is_there = code == SQLITE_IOERR_SHORT_READ && own.system->xFileSize(file, &end) == SQLITE_OK;
        return is_there && begin + size <= end ? SQLITE_IOERR_READ : code;
    }
};

} // namespace

struct confined_files::access
{
    sqlite3_vfs functions = {};
    sqlite3_vfs* system = nullptr;
    QByteArray name;
    QByteArray directory; ///< ends in "/"
    std::map<const sqlite3_io_methods*, exact_reading> readings;

    static access& of(sqlite3_vfs* vfs) { return *static_cast<access*>(vfs->pAppData); }

    int open(const char* path, sqlite3_file* file, int flags, int* out_flags)
    {
        const int code = system->xOpen(system, path, file, flags, out_flags);
        if (code == SQLITE_OK) {
            exact_reading& reading = readings[file->pMethods];
            reading.system = file->pMethods;
            reading.methods = *file->pMethods;
            reading.methods.xRead = exact_reading::read;
            file->pMethods = &reading.methods;
        }
        return code;
    }

    bool admits(const char* path) const
    {
        const QByteArray text(path);
        return text.startsWith(directory) && !text.contains("/../");
    }
};

confined_files::confined_files(const QByteArray& directory) : state(std::make_unique<access>())
{
    static std::atomic<int> count = 0;
    state->name = "evidence-" + QByteArray::number(++count);
    state->directory = directory.endsWith('/') ? directory : directory + '/';
    state->system = sqlite3_vfs_find(nullptr);

    sqlite3_vfs& vfs = state->functions;
    vfs = *state->system;
    vfs.iVersion = qMin(vfs.iVersion, 2);
    vfs.pNext = nullptr;
    vfs.zName = state->name.constData();
    vfs.pAppData = state.get();
    // A file without a name is a temporary one, which the system's access places and removes by itself.
    vfs.xOpen = [](sqlite3_vfs* self, const char* path, sqlite3_file* file, int flags, int* out_flags) {
        access& own = access::of(self);
        file->pMethods = nullptr;
        return path != nullptr && !own.admits(path) ? SQLITE_CANTOPEN : own.open(path, file, flags, out_flags);
    };
    vfs.xDelete = [](sqlite3_vfs* self, const char* path, int synchronise) {
        const access& own = access::of(self);
        return own.admits(path) ? own.system->xDelete(own.system, path, synchronise) : SQLITE_IOERR_DELETE;
    };
    vfs.xAccess = [](sqlite3_vfs* self, const char* path, int flags, int* result) {
        const access& own = access::of(self);
        *result = 0;
        return own.admits(path) ? own.system->xAccess(own.system, path, flags, result) : SQLITE_OK;
    };
    vfs.xFullPathname = [](sqlite3_vfs* self, const char* path, int size, char* full) {
        const access& own = access::of(self);
        return own.system->xFullPathname(own.system, path, size, full);
    };
    vfs.xDlOpen = [](sqlite3_vfs*, const char*) -> void* { return nullptr; };
    vfs.xRandomness = [](sqlite3_vfs* self, int size, char* bytes) {
        const access& own = access::of(self);
        return own.system->xRandomness(own.system, size, bytes);
    };
    vfs.xSleep = [](sqlite3_vfs* self, int microseconds) {
        const access& own = access::of(self);
        return own.system->xSleep(own.system, microseconds);
    };
    vfs.xCurrentTime = [](sqlite3_vfs* self, double* time) {
        const access& own = access::of(self);
        return own.system->xCurrentTime(own.system, time);
    };
    vfs.xGetLastError = [](sqlite3_vfs* self, int size, char* text) {
        const access& own = access::of(self);
        return own.system->xGetLastError(own.system, size, text);
    };
    vfs.xCurrentTimeInt64 = [](sqlite3_vfs* self, sqlite3_int64* time) {
        const access& own = access::of(self);
        return own.system->xCurrentTimeInt64(own.system, time);
    };
    sqlite3_vfs_register(&vfs, 0);
}

confined_files::~confined_files()
{
    sqlite3_vfs_unregister(&state->functions);
}

const char* confined_files::name() const
{
    return state->name.constData();
}
