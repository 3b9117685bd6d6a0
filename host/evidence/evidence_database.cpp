#include "host/evidence/evidence_database.h"

#include "host/evidence/evidence_failure.h"
#include "host/text/display_text.h"
#include "support/thread_time.h"

#include <QThread>

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr qint64 size_that_the_time_is_for = qint64(100) << 20;
constexpr int steps_between_looks_at_the_clock = 2000;

// Far above what an application's schema needs, far below what makes parsing expensive.
constexpr std::array<std::pair<int, int>, 6> parser_limits{{{SQLITE_LIMIT_SQL_LENGTH, 1 << 20},
                                                            {SQLITE_LIMIT_COLUMN, 500},
                                                            {SQLITE_LIMIT_EXPR_DEPTH, 100},
                                                            {SQLITE_LIMIT_COMPOUND_SELECT, 20},
                                                            {SQLITE_LIMIT_ATTACHED, 0},
                                                            {SQLITE_LIMIT_WORKER_THREADS, 0}}};

// No log is folded into a copy that is removed next.
constexpr std::array<std::pair<int, int>, 6> switches{{{SQLITE_DBCONFIG_DEFENSIVE, 1},
                                                       {SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1},
                                                       {SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
                                                       {SQLITE_DBCONFIG_ENABLE_TRIGGER, 0},
                                                       {SQLITE_DBCONFIG_ENABLE_VIEW, 0},
                                                       {SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0}}};

// The check of a tree calls itself for each page below a page. A forged tree can be as deep as the file has pages, and
// each level takes some two hundred bytes of stack.
constexpr qint64 stack_a_page = 1024;
constexpr qint64 largest_stack = qint64(1) << 30;

// So deep is every thread's stack, of which the smallest has half a megabyte: no thread of its own is needed.
constexpr qint64 pages_of_any_stack = 128;

QByteArray quoted(const QByteArray& name)
{
    return '\'' + QByteArray(name).replace("'", "''") + '\'';
}

/// The time that is for a size is also for every smaller one.
qint64 nanoseconds_for(const evidence_limits& limits, qint64 bytes)
{
    return limits.milliseconds * std::max(bytes, size_that_the_time_is_for) / size_that_the_time_is_for * 1'000'000;
}

bool is_declared_as_table(const QByteArray& statement)
{
    return statement.left(12).toLower() == "create table";
}

} // namespace

bool evidence_table::has(const char* column) const
{
    return std::any_of(columns.begin(), columns.end(),
                       [column](const QByteArray& name) { return qstricmp(name.constData(), column) == 0; });
}

evidence_database::memory_limit::memory_limit(qint64 bytes)
{
    earlier = sqlite3_hard_heap_limit64(-1);
    sqlite3_hard_heap_limit64(sqlite3_memory_used() + bytes);
}

evidence_database::memory_limit::~memory_limit()
{
    sqlite3_hard_heap_limit64(earlier);
}

void evidence_database::closer::operator()(sqlite3* open) const
{
    sqlite3_close_v2(open);
}

evidence_database::evidence_database(const evidence_copies& copies, log_use use, const evidence_limits& taken)
    : origin(copies.origin())
    , file_bytes(copies.bytes())
    , limits(taken)
    , end_of_work(thread_time() + nanoseconds_for(taken, file_bytes))
    , memory(taken.heap_bytes)
    , files(copies.directory(use))
{
    sqlite3* opened = nullptr;
    // The copy is opened for writing: SQLite rolls a journal back, which only a copy may suffer.
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_EXRESCODE;
    const int code = sqlite3_open_v2(copies.database(use).constData(), &opened, flags, files.name());
    connection.reset(opened);
    if (code != SQLITE_OK) {
        fail(code);
    }
    forbid_what_is_not_reading();
    // What befalls the copy when the machine goes down concerns nobody, nor does anybody else open it: without that,
    // each statement takes and gives back locks and looks for a journal.
    for (const char* setting : {"PRAGMA locking_mode=EXCLUSIVE", "PRAGMA synchronous=OFF", "PRAGMA query_only=ON",
                                "PRAGMA ignore_check_constraints=ON", "PRAGMA mmap_size=0", "PRAGMA cell_size_check=ON",
                                "PRAGMA cache_size=-16000"}) {
        select(setting).next();
    }
    select("SELECT 1 FROM sqlite_schema").next();
}

evidence_database::~evidence_database() = default;

void evidence_database::forbid_what_is_not_reading()
{
    for (const auto& [limit, value] : parser_limits) {
        sqlite3_limit(connection.get(), limit, value);
    }
    sqlite3_limit(connection.get(), SQLITE_LIMIT_LENGTH, int(std::min<qint64>(limits.longest_value, 1 << 30)));
    for (const auto& [name, value] : switches) {
        sqlite3_db_config(connection.get(), name, value, nullptr);
    }
    sqlite3_progress_handler(
        connection.get(), steps_between_looks_at_the_clock,
        [](void* self) { return int{static_cast<const evidence_database*>(self)->has_to_end()}; }, this);
    sqlite3_set_authorizer(
        connection.get(),
        [](void*, int action, const char*, const char*, const char*, const char*) {
            switch (action) {
            case SQLITE_SELECT:
            case SQLITE_READ:
            case SQLITE_FUNCTION:
            case SQLITE_RECURSIVE:
            case SQLITE_PRAGMA:
                return SQLITE_OK;
            default:
                return SQLITE_DENY;
            }
        },
        nullptr);
}

bool evidence_database::has_to_end() const
{
    return is_over() || limits.cancelled();
}

bool evidence_database::is_over() const
{
    // A thread does not work for longer than time passes, and that is asked for far more quickly.
    const auto now = std::chrono::steady_clock::now();
    if (now < not_over_before) {
        return false;
    }
    const qint64 left = end_of_work - thread_time();
    not_over_before = now + std::chrono::nanoseconds(left);
    return left <= 0;
}

void evidence_database::fail(int code) const
{
    const auto reason = [&]() -> QString {
        switch (code & 0xFF) {
        case SQLITE_INTERRUPT:
            return is_over() ? QStringLiteral("reading it takes too long: given up after %1 seconds")
                                   .arg(limits.milliseconds / 1000)
                             : QStringLiteral("cancelled");
        case SQLITE_NOMEM:
            return QStringLiteral("reading it takes more than %1 bytes of memory").arg(limits.heap_bytes);
        case SQLITE_TOOBIG:
            return QStringLiteral("holds a value of more than %1 bytes").arg(limits.longest_value);
        default:
            return display_text(connection ? QString::fromUtf8(sqlite3_errmsg(connection.get()))
                                           : QString::fromUtf8(sqlite3_errstr(code)));
        }
    };
    throw evidence_failure(QStringLiteral("%1: %2").arg(origin, reason()));
}

evidence_rows evidence_database::select(const QByteArray& statement) const
{
    sqlite3_stmt* prepared = nullptr;
    const int code =
        sqlite3_prepare_v2(connection.get(), statement.constData(), int(statement.size()), &prepared, nullptr);
    evidence_rows rows(*this, prepared);
    if (code != SQLITE_OK) {
        fail(code);
    }
    return rows;
}

QString evidence_database::what_else_it_is(const char* name) const
{
    evidence_rows rows = select("SELECT type, rootpage, sql FROM sqlite_schema WHERE name = " + quoted(name) +
                                " COLLATE NOCASE AND type <> 'index'");
    QString found;
    int count = 0;
    for (; rows.next(); ++count) {
        if (rows.bytes(0) != "table") {
            found = QStringLiteral("%1 is a %2, no table").arg(QLatin1String(name), display_text(rows.bytes(0)));
        } else if (rows.integer(1) <= 0 || !is_declared_as_table(rows.bytes(2))) {
            found = QStringLiteral("%1 is no ordinary table").arg(QLatin1String(name));
        }
    }
    return count > 1 ? QStringLiteral("%1 is there more than once").arg(QLatin1String(name)) : found;
}

const evidence_table& evidence_database::table(const char* name) const
{
    const auto known = tables.find(name);
    return known != tables.end() ? known->second : tables.emplace(name, look_at(name)).first->second;
}

evidence_table evidence_database::look_at(const char* name) const
{
    evidence_table found;
    found.refusal = what_else_it_is(name);
    if (!found.refusal.isEmpty()) {
        return found;
    }
    // A generated column is an expression of the database's own, run for each row that is read.
    evidence_rows columns = select("PRAGMA table_xinfo(" + quoted(name) + ')');
    while (columns.next()) {
        if (columns.integer(6) != 0) {
            found.refusal =
                QStringLiteral("%1 has columns that are computed when they are read").arg(QLatin1String(name));
            found.columns.clear();
            return found;
        }
        found.columns.append(columns.bytes(1));
    }
    found.exists = !found.columns.isEmpty();
    if (found.exists) {
        found.damage = first_damage(name);
    }
    return found;
}

QString evidence_database::answer_of_check(const char* name) const
{
    const QLatin1String table(name);
    try {
        evidence_rows answer = select("PRAGMA quick_check(" + quoted(name) + ')');
        const bool is_damaged = answer.next() && answer.bytes(0) != "ok";
        return is_damaged ? QStringLiteral("%1 is damaged: %2").arg(table, display_text(answer.text(0).simplified()))
                          : QString();
    } catch (const evidence_failure& failure) {
        return QStringLiteral("%1 cannot be checked: %2").arg(table, failure.message());
    }
}

QString evidence_database::first_damage(const char* name) const
{
    evidence_rows stated = select("PRAGMA page_size");
    const qint64 page_size = stated.next() ? std::max<qint64>(512, stated.integer(0)) : 512;
    const qint64 pages = file_bytes / page_size;
    if (pages <= pages_of_any_stack) {
        return answer_of_check(name);
    }
    const qint64 stack = (qint64(8) << 20) + pages * stack_a_page;
    if (stack > largest_stack) {
        return QStringLiteral("%1 has too many pages to be checked").arg(QLatin1String(name));
    }
    // What no thread was there for was not checked.
    QString damage = QStringLiteral("%1 cannot be checked: no thread can be started for it").arg(QLatin1String(name));
    const qint64 left = end_of_work - thread_time();
    qint64 worked = 0;
    const auto check = [&] {
        end_of_work = thread_time() + left;
        damage = answer_of_check(name);
        worked = thread_time();
    };
    const std::unique_ptr<QThread> thread(QThread::create(check));
    thread->setStackSize(uint(stack));
    thread->start();
    thread->wait();
    end_of_work = thread_time() + left - worked;
    return damage;
}

QByteArrayList evidence_database::tables_like(const char* glob) const
{
    evidence_rows rows = select("SELECT name FROM sqlite_schema WHERE type = 'table' AND rootpage > 0 AND name GLOB " +
                                quoted(glob) + " ORDER BY name");
    QByteArrayList names;
    while (rows.next()) {
        names.append(rows.bytes(0));
    }
    return names;
}
