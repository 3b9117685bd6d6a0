#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

struct sqlite3_stmt;
class evidence_database;

/// The rows of one statement over an evidence database, read one after the other; must not outlive the database.
class evidence_rows
{
public:
    /// Moves to the next row; false after the last one. Throws an evidence_failure when reading fails or a limit is
    /// reached; rows read before stay good.
    bool next();

    bool is_null(int column) const;
    /// True when the stored value is a number, whatever the column was declared as.
    bool is_number(int column) const;
    bool is_blob(int column) const;
    /// Returns the value as SQLite converts it; 0 or empty for NULL.
    qint64 integer(int column) const;
    double real(int column) const;
    QString text(int column) const;
    /// Returns the bytes of a blob, or of a text in UTF-8.
    QByteArray bytes(int column) const;

private:
    friend class evidence_database;
    struct finalizer
    {
        void operator()(sqlite3_stmt* statement) const;
    };
    evidence_rows(const evidence_database& reading, sqlite3_stmt* prepared) : database(&reading), statement(prepared) {}

    const evidence_database* database;
    std::unique_ptr<sqlite3_stmt, finalizer> statement;
};
