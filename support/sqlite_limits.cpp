#include "support/sqlite_limits.h"

#include <QLibrary>
#include <QSqlDriver>
#include <QSqlQuery>
#include <QVariant>

namespace {

constexpr qint64 heap_bytes = qint64(96) << 20;
// Far more than any value of an account store has; a single function of longer ones may take many seconds.
constexpr int longest_value = 1 << 19;
constexpr int longest_pattern = 1000;
// What SQLite counts are steps of its virtual machine; so many take well below a millisecond.
constexpr int steps_between_looks = 4000;

// As SQLite's interface, which never changes, declares them.
constexpr int limit_of_length = 0;
constexpr int limit_of_like_pattern_length = 8;

struct sqlite_library
{
    int (*initialize)() = nullptr;
    const char* (*sourceid)() = nullptr;
    const char* (*compileoption_get)(int) = nullptr;
    int (*limit)(sqlite3*, int, int) = nullptr;
    void (*progress_handler)(sqlite3*, int, int (*)(void*), void*) = nullptr;
    qint64 (*memory_used)() = nullptr;
    qint64 (*hard_heap_limit64)(qint64) = nullptr;

    bool is_whole() const
    {
        return initialize != nullptr && sourceid != nullptr && compileoption_get != nullptr && limit != nullptr &&
               progress_handler != nullptr && memory_used != nullptr && hard_heap_limit64 != nullptr;
    }
};

sqlite_library load_sqlite()
{
    // The name that the driver's own dependency has: the dynamic loader then gives the very same library.
    QLibrary file(QStringLiteral("sqlite3"), 0);
    sqlite_library library;
    const auto resolve = [&file](auto& function, const char* name) {
        function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(file.resolve(name));
    };
    resolve(library.initialize, "sqlite3_initialize");
    resolve(library.sourceid, "sqlite3_sourceid");
    resolve(library.compileoption_get, "sqlite3_compileoption_get");
    resolve(library.limit, "sqlite3_limit");
    resolve(library.progress_handler, "sqlite3_progress_handler");
    resolve(library.memory_used, "sqlite3_memory_used");
    resolve(library.hard_heap_limit64, "sqlite3_hard_heap_limit64");
    return library;
}

const sqlite_library& sqlite()
{
    static const sqlite_library library = load_sqlite();
    return library;
}

/// True when the library found is, or is built exactly like, the one behind the connection: then a handle of the one
/// may be handed to the other.
bool is_library_of(const QSqlDatabase& connection)
{
    if (!sqlite().is_whole() || sqlite().initialize() != 0) {
        return false;
    }
    QSqlQuery query(connection);
    if (!query.exec(QStringLiteral("select sqlite_source_id()")) || !query.next() ||
        query.value(0).toString() != QLatin1String(sqlite().sourceid())) {
        return false;
    }
    if (!query.exec(QStringLiteral("pragma compile_options"))) {
        return false;
    }
    int option = 0;
    while (query.next()) {
        const char* const expected = sqlite().compileoption_get(option++);
        if (expected == nullptr || query.value(0).toString() != QLatin1String(expected)) {
            return false;
        }
    }
    return sqlite().compileoption_get(option) == nullptr;
}

sqlite3* handle_of(const QSqlDatabase& connection)
{
    const QVariant handle = connection.driver()->handle();
    const bool is_sqlite = handle.isValid() && qstrcmp(handle.typeName(), "sqlite3*") == 0;
    return is_sqlite && is_library_of(connection) ? *static_cast<sqlite3* const*>(handle.constData()) : nullptr;
}

int is_to_stop(void* limits)
{
    return static_cast<const sqlite_limits*>(limits)->is_over() ? 1 : 0;
}

} // namespace

sqlite_limits::sqlite_limits(const QSqlDatabase& connection, qint64& nanoseconds_left)
    : handle(handle_of(connection))
    , left(nanoseconds_left)
{
    if (handle == nullptr) {
        QSqlQuery(connection).exec(QStringLiteral("pragma hard_heap_limit = %1").arg(2 * heap_bytes));
        return;
    }
    sqlite().limit(handle, limit_of_length, longest_value);
    sqlite().limit(handle, limit_of_like_pattern_length, longest_pattern);
    sqlite().progress_handler(handle, steps_between_looks, is_to_stop, this);
    const qint64 wanted = sqlite().memory_used() + heap_bytes;
    previous_heap_limit = sqlite().hard_heap_limit64(-1);
    if (previous_heap_limit == 0 || previous_heap_limit > wanted) {
        sqlite().hard_heap_limit64(wanted);
    }
}

sqlite_limits::~sqlite_limits()
{
    if (handle != nullptr) {
        sqlite().progress_handler(handle, 0, nullptr, nullptr);
        sqlite().hard_heap_limit64(previous_heap_limit);
    }
}

void sqlite_limits::stop()
{
    left -= timer.nsecsElapsed();
    timer.invalidate();
}

bool sqlite_limits::is_over() const
{
    return (timer.isValid() ? left - timer.nsecsElapsed() : left) <= 0;
}
