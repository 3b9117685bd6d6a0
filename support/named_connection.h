#pragma once

#include <QSqlDatabase>
#include <QString>

/// Replaces the connection of that name by one to the database file and opens it. Returns why that failed, empty when
/// it is open; an empty path fails.
QString open_connection(QSqlDatabase& connection, const QString& name, const QString& database_path);

/// A named SQLite connection that closes at the end of its scope; the name stays registered until its next use.
class named_connection
{
public:
    /// Replaces the connection of that name by one to the database file and opens it; is_open() tells the outcome. An
    /// empty path does not open.
    named_connection(const QString& name, const QString& database_path);
    ~named_connection();
    Q_DISABLE_COPY_MOVE(named_connection)

    /// True when the database opened.
    bool is_open() const { return connection.isOpen(); }
    /// The connection itself.
    QSqlDatabase& database() { return connection; }
    /// Why the database did not open; empty when it did.
    QString opening_error() const { return error; }

private:
    QSqlDatabase connection;
    QString error;
};

/// A transaction that is committed at the end of its scope, whatever ended it: rows written so far are kept. A commit
/// that fails is logged.
class committed_transaction
{
public:
    /// Begins it; `signature` is that of the function that the log is to name.
    committed_transaction(QSqlDatabase& database, const char* signature);
    ~committed_transaction();
    Q_DISABLE_COPY_MOVE(committed_transaction)

private:
    QSqlDatabase& connection;
    const char* signature;
};
