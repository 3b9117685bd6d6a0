#include "support/named_connection.h"

#include <QSqlError>

named_connection::named_connection(const QString& name, const QString& database_path)
{
    QSqlDatabase::removeDatabase(name);
    connection = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
    connection.setDatabaseName(database_path);
    // SQLite would take an empty name for a private temporary database.
    if (!database_path.isEmpty()) {
        connection.open();
    }
}

named_connection::~named_connection()
{
    connection.close();
}

QString named_connection::last_error() const
{
    return connection.lastError().text();
}

committed_transaction::committed_transaction(QSqlDatabase& database) : connection(database)
{
    connection.transaction();
}

committed_transaction::~committed_transaction()
{
    connection.commit();
}
