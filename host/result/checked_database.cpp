#include "host/result/checked_database.h"

#include "host/text/display_text.h"
#include "host/text/failure.h"
#include "support/thread_time.h"

#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

#include <array>
#include <utility>

namespace {

// A forged tree of pages may have more rows than there are atoms, however few its bytes are. An honest result of some
// hundred megabytes is read in seconds, with a few steps of SQLite a byte and fewer rows than it has bytes by far.
constexpr qint64 nanoseconds = 30'000'000'000; // of the thread's work
constexpr qint64 size_that_the_time_is_for = qint64(256) << 20;
constexpr qint64 steps_a_byte = 20;
constexpr qint64 steps_of_any = 1'000'000;
constexpr qint64 bytes_a_row = 32;
constexpr qint64 rows_of_any = 10'000;
constexpr int steps_between_looks = 10'000;
constexpr qint64 heap_bytes = qint64(192) << 20;
constexpr int longest_value = 16 << 20;

constexpr std::array<std::pair<int, int>, 5> switches{{{SQLITE_DBCONFIG_DEFENSIVE, 1},
                                                       {SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
                                                       {SQLITE_DBCONFIG_ENABLE_TRIGGER, 0},
                                                       {SQLITE_DBCONFIG_ENABLE_VIEW, 0},
                                                       {SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0}}};

} // namespace

void checked_rows::finalizer::operator()(sqlite3_stmt* prepared) const
{
    sqlite3_finalize(prepared);
}

bool checked_rows::next()
{
    const int code = sqlite3_step(statement.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE) {
        database->fail(code);
    }
    if (++count > database->most_rows) {
        database->fail(SQLITE_INTERRUPT);
    }
    return code == SQLITE_ROW;
}

QStringList checked_rows::columns() const
{
    QStringList names;
    for (int column = 0; column < sqlite3_column_count(statement.get()); ++column) {
        names.append(QString::fromUtf8(sqlite3_column_name(statement.get(), column)));
    }
    return names;
}

QVariant checked_rows::value(int column) const
{
    sqlite3_stmt* const row = statement.get();
    switch (sqlite3_column_type(row, column)) {
    case SQLITE_INTEGER:
        return qint64(sqlite3_column_int64(row, column));
    case SQLITE_FLOAT:
        return sqlite3_column_double(row, column);
    case SQLITE_TEXT: {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
        return QString::fromUtf8(text, sqlite3_column_bytes(row, column));
    }
    case SQLITE_BLOB: {
        const auto* bytes = static_cast<const char*>(sqlite3_column_blob(row, column));
        return QByteArray(bytes, sqlite3_column_bytes(row, column));
    }
    default:
        return {};
    }
}

QVariant checked_rows::value(const QString& column) const
{
    const QByteArray name = column.toUtf8();
    for (int index = 0; index < sqlite3_column_count(statement.get()); ++index) {
        if (qstricmp(sqlite3_column_name(statement.get(), index), name.constData()) == 0) {
            return value(index);
        }
    }
    return {};
}

void checked_database::closer::operator()(sqlite3* open) const
{
    sqlite3_close_v2(open);
}

checked_database::checked_database(const QString& path, const QString& shown_path, bool as_it_is)
    : shown(shown_path)
    , size(QFileInfo(path).size())
    , end_of_work(thread_time() + nanoseconds * (1 + size / size_that_the_time_is_for))
    , looks_left((steps_of_any + steps_a_byte * size) / steps_between_looks)
    , most_rows(rows_of_any + size / bytes_a_row)
{
    const QByteArray uri = "file:" + QFile::encodeName(QFileInfo(path).absoluteFilePath()).toPercentEncoding("/") +
                           (as_it_is ? "?mode=ro&immutable=1" : "?mode=rw");
    const int access = as_it_is ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
    sqlite3* opened = nullptr;
    const int code = sqlite3_open_v2(
        uri.constData(), &opened, access | SQLITE_OPEN_URI | SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_EXRESCODE, nullptr);
    connection.reset(opened);
    if (code != SQLITE_OK) {
        fail(code);
    }
    sqlite3_limit(opened, SQLITE_LIMIT_LENGTH, longest_value);
    sqlite3_limit(opened, SQLITE_LIMIT_ATTACHED, 0);
    for (const auto& [name, value] : switches) {
        sqlite3_db_config(opened, name, value, nullptr);
    }
    sqlite3_hard_heap_limit64(heap_bytes);
    sqlite3_progress_handler(
        opened, steps_between_looks, [](void* self) { return int{static_cast<checked_database*>(self)->has_to_end()}; },
        this);
    for (const char* setting : {"PRAGMA query_only=ON", "PRAGMA mmap_size=0", "PRAGMA cell_size_check=ON"}) {
        query(QLatin1String(setting)).next();
    }
}

bool checked_database::has_to_end()
{
    return --looks_left < 0 || thread_time() >= end_of_work;
}

checked_database::~checked_database()
{
    connection.reset();
    sqlite3_hard_heap_limit64(0);
}

checked_rows checked_database::query(const QString& statement) const
{
    const QByteArray text = statement.toUtf8();
    sqlite3_stmt* prepared = nullptr;
    const int code = sqlite3_prepare_v2(connection.get(), text.constData(), int(text.size()), &prepared, nullptr);
    checked_rows rows(*this, prepared);
    if (code != SQLITE_OK) {
        fail(code);
    }
    return rows;
}

void checked_database::fail(int code) const
{
    const auto reason = [&]() -> QString {
        switch (code & 0xFF) {
        case SQLITE_INTERRUPT:
            return QStringLiteral("reading it takes too long; no result that a run left does");
        case SQLITE_NOMEM:
            return QStringLiteral("reading it takes too much memory; no result that a run left does");
        default:
            return display_text(connection ? QString::fromUtf8(sqlite3_errmsg(connection.get()))
                                           : QString::fromUtf8(sqlite3_errstr(code)));
        }
    };
    refuse(QStringLiteral("cannot read the database %1: %2").arg(display_text(shown), reason()));
}
