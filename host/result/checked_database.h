#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

struct sqlite3;
struct sqlite3_stmt;
class checked_database;

/// The rows of one statement, read one after the other; must not outlive the database.
class checked_rows
{
public:
    /// Moves to the next row; false after the last one. Throws a failure when reading ends in any other way.
    bool next();

    QStringList columns() const;
    /// Returns a value: a number, a text or bytes; an invalid one for NULL.
    QVariant value(int column) const;
    /// The same by the column's name; invalid also when there is no such column.
    QVariant value(const QString& column) const;

private:
    friend class checked_database;
    struct finalizer
    {
        void operator()(sqlite3_stmt* statement) const;
    };
    checked_rows(const checked_database& reading, sqlite3_stmt* prepared) : database(&reading), statement(prepared) {}

    const checked_database* database;
    std::unique_ptr<sqlite3_stmt, finalizer> statement;
    qint64 count = 0;
};

/// A database of a result, open for reading only. A result may have been in other hands: nothing that the file holds is
/// run (view, trigger), time and memory are bounded, and a reading that fails is never taken for the last row.
class checked_database
{
public:
    /// Opens the file, which is named `shown_path` in messages; `as_it_is` opens it as a file that nobody writes,
    /// without a lock or any file beside it. Throws a failure that names path and reason.
    checked_database(const QString& path, const QString& shown_path, bool as_it_is);
    ~checked_database();
    checked_database(const checked_database&) = delete;
    checked_database& operator=(const checked_database&) = delete;

    /// Begins a SELECT; throws a failure when it cannot be prepared.
    checked_rows query(const QString& statement) const;

private:
    friend class checked_rows;
    struct closer
    {
        void operator()(sqlite3* connection) const;
    };
    [[noreturn]] void fail(int code) const;
    bool has_to_end();

    QString shown;
    qint64 size;        ///< bytes of the file
    qint64 end_of_work; ///< by the thread that reads
    qint64 looks_left;  ///< at the clock
    qint64 most_rows;   ///< of one statement
    std::unique_ptr<sqlite3, closer> connection;
};
