#include "support/sqlite_limits.h"

#include "support/named_connection.h"

#include <QSqlDriver>
#include <QSqlQuery>
#include <QVariant>

#include <sqlite3.h>

namespace {

constexpr qint64 heap_bytes = qint64(96) << 20;
// Far more than any value of an account store has; a single function of longer ones may take many seconds.
constexpr int longest_value = 1 << 19;
constexpr int longest_pattern = 1000;
// What SQLite counts are steps of its virtual machine; so many take well below a millisecond.
constexpr int steps_between_looks = 4000;

/// True when the SQLite linked here is, or is built exactly like, the one behind a connection: then a handle of the one
/// may be handed to the other.
bool is_same_sqlite(const QSqlDatabase& connection)
{
    QSqlQuery query(connection);
    if (!query.exec(QStringLiteral("select sqlite_source_id()")) || !query.next() ||
        query.value(0).toString() != QLatin1String(sqlite3_sourceid())) {
        return false;
    }
    if (!query.exec(QStringLiteral("pragma compile_options"))) {
        return false;
    }
    int option = 0;
    while (query.next()) {
        const char* const expected = sqlite3_compileoption_get(option++);
        if (expected == nullptr || query.value(0).toString() != QLatin1String(expected)) {
            return false;
        }
    }
    return sqlite3_compileoption_get(option) == nullptr;
}

/// True when the SQLite of Qt's driver is the one linked here.
bool is_sqlite_of_driver()
{
    if (sqlite3_initialize() != SQLITE_OK) {
        return false;
    }
    const QString name = QStringLiteral("which SQLite");
    bool is_same = false;
    {
        named_connection empty(name, QStringLiteral(":memory:"));
        is_same = empty.is_open() && is_same_sqlite(empty.database());
    }
    QSqlDatabase::removeDatabase(name);
    return is_same;
}

sqlite3* handle_of(const QSqlDatabase& connection)
{
    static const bool may_be_limited = is_sqlite_of_driver();
    const QVariant handle = connection.driver()->handle();
    const bool is_handle = handle.isValid() && qstrcmp(handle.typeName(), "sqlite3*") == 0;
    return is_handle && may_be_limited ? *static_cast<sqlite3* const*>(handle.constData()) : nullptr;
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
    sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, longest_value);
    sqlite3_limit(handle, SQLITE_LIMIT_LIKE_PATTERN_LENGTH, longest_pattern);
    sqlite3_progress_handler(handle, steps_between_looks, is_to_stop, this);
    const qint64 wanted = sqlite3_memory_used() + heap_bytes;
    previous_heap_limit = sqlite3_hard_heap_limit64(-1);
    if (previous_heap_limit == 0 || previous_heap_limit > wanted) {
        sqlite3_hard_heap_limit64(wanted);
    }
}

sqlite_limits::~sqlite_limits()
{
    if (handle != nullptr) {
        sqlite3_progress_handler(handle, 0, nullptr, nullptr);
        sqlite3_hard_heap_limit64(previous_heap_limit);
    }
}

void sqlite_limits::stop()
{
    left -= thread_time() - *begun;
    begun.reset();
}

bool sqlite_limits::is_over() const
{
    return (begun ? left - (thread_time() - *begun) : left) <= 0;
}
