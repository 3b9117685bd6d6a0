#include "support/named_connection.h"

#include "support/plugin_static_function.h"

#include <QSqlError>

QString open_connection(QSqlDatabase& connection, const QString& name, const QString& database_path)
{
    QSqlDatabase::removeDatabase(name);
    connection = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
    connection.setDatabaseName(database_path);
    // SQLite would take an empty name for a private temporary database.
    if (database_path.isEmpty()) {
        return QStringLiteral("the path of the database is empty");
    }
    return connection.open() ? QString() : connection.lastError().text();
}

named_connection::named_connection(const QString& name, const QString& database_path)
    : error(open_connection(connection, name, database_path))
{
}

named_connection::~named_connection()
{
    connection.close();
}

committed_transaction::committed_transaction(QSqlDatabase& database, const char* caller)
    : connection(database)
    , signature(caller)
{
    connection.transaction();
}

committed_transaction::~committed_transaction()
{
    if (connection.commit()) {
        return;
    }
    plugin_static_function::app_debug(
        QStringLiteral("Destination Db commit --------FAILED------ ") + connection.databaseName(), signature);
    plugin_static_function::app_debug(QStringLiteral("ERROR :- ") + connection.lastError().text(), signature);
}
