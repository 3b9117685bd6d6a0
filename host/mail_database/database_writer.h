#pragma once

#include <QString>
#include <QVariantList>

#include <memory>

struct sqlite3;
struct sqlite3_stmt;

/// A statement of a mail_database_writer that takes rows; must not outlive it.
class prepared_insertion
{
public:
    prepared_insertion() = default;

private:
    friend class mail_database_writer;
    struct finalizer
    {
        void operator()(sqlite3_stmt* prepared) const;
    };
    explicit prepared_insertion(sqlite3_stmt* prepared) : statement(prepared) {}

    std::unique_ptr<sqlite3_stmt, finalizer> statement;
    int same_values = 0; ///< of the first columns, which keep them from row to row
};

/// Writes a database of the program's own beside its place under a temporary name; it takes its place whole, or not at
/// all. To be used by one thread at a time. Everything here throws a failure that names the path and the reason.
class mail_database_writer
{
public:
    /// Begins an empty database that will be at `path`, whose directory exists.
    explicit mail_database_writer(const QString& path);
    /// Removes what was not put in place.
    ~mail_database_writer();
    mail_database_writer(const mail_database_writer&) = delete;
    mail_database_writer& operator=(const mail_database_writer&) = delete;

    /// Runs one statement ("CREATE TABLE ...").
    void execute(const QString& statement);
    /// Returns a statement to be given rows with insert().
    prepared_insertion prepare(const QString& statement);
    /// Gives the first columns values that all rows to come have, in place of those of rows before.
    void keep_values(prepared_insertion& into, const QVariantList& values);
    /// Runs a prepared statement with one row's values, but for those that are kept: texts (also in UTF-8; a null one
    /// is NULL), numbers, flags, and nothing.
    void insert(prepared_insertion& into, const QVariantList& values);

    /// Commits, checks that everything is on the disk and renames the database to its place.
    void put_in_place();

private:
    struct closer
    {
        void operator()(sqlite3* open) const;
    };
    void open();
    void remove_temporary();
    [[noreturn]] void fail(const QString& reason) const;
    [[noreturn]] void fail_as_told() const;

    QString path;
    QString temporary; ///< empty once the database is in place
    std::unique_ptr<sqlite3, closer> connection;
};
