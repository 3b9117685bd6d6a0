#pragma once

#include "support/thread_time.h"

#include <QSqlDatabase>

#include <optional>

struct sqlite3;

/// Bounds what the statements of one connection may take in memory and in working time of their thread, for as long as
/// it lives.
///
/// SQL alone cannot stop a statement, so this hands the handle of Qt's driver to SQLite itself. Where the driver brings
/// an SQLite of its own, time is not bounded, and memory by a limit that only ever falls and holds for the whole
/// process.
class sqlite_limits
{
public:
    /// `nanoseconds_left` is what statements may take; it becomes less with what they took.
    sqlite_limits(const QSqlDatabase& connection, qint64& nanoseconds_left);
    ~sqlite_limits();
    Q_DISABLE_COPY_MOVE(sqlite_limits)

    /// Begins to count time, as a statement does.
    void start() { begun = thread_time(); }
    /// Takes the time since start() off what is left.
    void stop();
    /// True when nothing is left; also while time is counted.
    bool is_over() const;

private:
    sqlite3* handle = nullptr;
    qint64 previous_heap_limit = 0;
    qint64& left;
    std::optional<qint64> begun; ///< while time is counted
};
