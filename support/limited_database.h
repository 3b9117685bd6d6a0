#pragma once

#include "support/named_connection.h"
#include "support/sqlite_limits.h"

#include <QSqlQuery>

#include <optional>

/// The working copy of a database of unknown origin, open for reading one table within limits of time and memory. It is
/// refused when that table is none: a view, a virtual table or a computed column would run code of the database's
/// maker.
class limited_database
{
public:
    /// Opens it under that connection name. `nanoseconds_left` is what its statements may take, and becomes less.
    limited_database(const QString& connection_name, const QString& path, const QString& table,
                     qint64& nanoseconds_left);

    /// True when the database opened and its table may be read; a table that is missing is left to the statements.
    bool is_open() const { return error.isEmpty(); }
    /// Why the database is not read; empty when it is.
    QString opening_error() const { return error; }
    /// The connection itself.
    QSqlDatabase& database() { return connection.database(); }

    /// Runs a statement, or the prepared one when it is empty, up to its first row; false when it failed.
    bool execute(QSqlQuery& query, const QString& statement = {});
    /// Moves on to the next row; false at the end and on failure.
    bool next(QSqlQuery& query);
    /// Why the query failed.
    QString error_of(const QSqlQuery& query) const;
    /// True when no time is left: every further statement will fail.
    bool is_time_over() const { return limits && limits->is_over(); }

private:
    QString reason_against(const QString& table);

    named_connection connection;
    std::optional<sqlite_limits> limits;
    QString error;
};
