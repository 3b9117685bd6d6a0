#pragma once

#include <QSqlDatabase>
#include <QString>

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
    /// The driver's text of what failed last.
    QString last_error() const;

private:
    QSqlDatabase connection;
};

/// A transaction that is committed at the end of its scope, whatever ended it: rows written so far are kept.
class committed_transaction
{
public:
    explicit committed_transaction(QSqlDatabase& database);
    ~committed_transaction();
    Q_DISABLE_COPY_MOVE(committed_transaction)

private:
    QSqlDatabase& connection;
};
