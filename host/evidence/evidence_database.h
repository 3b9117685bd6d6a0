#pragma once

#include "host/evidence/confined_files.h"
#include "host/evidence/evidence_copies.h"
#include "host/evidence/evidence_limits.h"
#include "host/evidence/evidence_rows.h"

#include <QByteArrayList>
#include <QString>
#include <QStringList>

#include <chrono>
#include <map>
#include <memory>

struct sqlite3;

/// A table of an evidence database, looked at before it is read.
struct evidence_table
{
    bool exists = false;    ///< it is an ordinary table and may be read
    QString refusal;        ///< why it may not, when there is something else of its name ("is a view"); one line
    QString damage;         ///< what the check of its pages found first, or why there is none; empty when it is sound
    QByteArrayList columns; ///< as declared, in their order

    bool has(const char* column) const;
};

/// A copy of an evidence database, open for reading under limits: nothing of its own runs (no view, trigger, virtual
/// table, generated column, check or extension), time and memory are bounded. While it is open, the memory limit holds
/// for everything that this process does with SQLite; so one is open at a time.
class evidence_database
{
public:
    /// Opens a copy; throws an evidence_failure when it is no database or its schema cannot be read.
    evidence_database(const evidence_copies& copies, log_use use, const evidence_limits& limits = {});
    ~evidence_database();
    evidence_database(const evidence_database&) = delete;
    evidence_database& operator=(const evidence_database&) = delete;

    /// Looks for a table (letter case aside, as SQLite does) and checks its pages, the first time it is asked for.
    const evidence_table& table(const char* name) const;
    /// Returns the names of ordinary tables that match the pattern ("Z_*ENABLEDDATACLASSES"), sorted.
    QByteArrayList tables_like(const char* glob) const;
    /// Runs one SELECT over tables that table() admitted. Throws an evidence_failure when it cannot be prepared.
    evidence_rows select(const QByteArray& statement) const;

    /// True when its time is over or the work is cancelled; to be asked on the thread that opened it.
    bool has_to_end() const;
    /// Throws an evidence_failure with the database's path and what an SQLite result code means here.
    [[noreturn]] void fail(int code) const;

private:
    struct closer
    {
        void operator()(sqlite3* connection) const;
    };
    /// Sets the memory limit of the process and sets it back.
    class memory_limit
    {
    public:
        explicit memory_limit(qint64 bytes);
        ~memory_limit();
        memory_limit(const memory_limit&) = delete;
        memory_limit& operator=(const memory_limit&) = delete;

    private:
        qint64 earlier = 0;
    };

    void forbid_what_is_not_reading();
    evidence_table look_at(const char* name) const;
    QString first_damage(const char* name) const;
    QString answer_of_check(const char* name) const;
    bool is_over() const;
    QString what_else_it_is(const char* name) const;

    QString origin;
    qint64 file_bytes = 0;
    evidence_limits limits;
    mutable qint64 end_of_work; ///< by the thread that reads
    mutable std::chrono::steady_clock::time_point not_over_before;
    memory_limit memory;
    confined_files files;
    std::unique_ptr<sqlite3, closer> connection;
    mutable std::map<QByteArray, evidence_table> tables;
};
