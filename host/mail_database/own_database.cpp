#include "host/mail_database/own_database.h"

#include "host/files/quiet_reading.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <QFile>
#include <QSqlError>

namespace {

const QString connection_name = QStringLiteral("own_database");

} // namespace

own_database::own_database(const result_paths& result) : path(result.path(product::mail_database))
{
    const entry_facts facts = quiet_stat(QFile::encodeName(path));
    if (facts.kind != entry_kind::file) {
        fail(facts.error.isEmpty() ? QStringLiteral("is no file: ") + kind_text(facts.kind) : facts.error);
    }
    database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection_name);
    database.setDatabaseName(path);
    database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
    if (!database.open()) {
        const QString reason = database.lastError().databaseText();
        database = QSqlDatabase();
        QSqlDatabase::removeDatabase(connection_name);
        fail(reason);
    }
}

own_database::~own_database()
{
    database = QSqlDatabase();
    QSqlDatabase::removeDatabase(connection_name);
}

QSqlQuery own_database::query(const QString& statement) const
{
    QSqlQuery query(database);
    query.setForwardOnly(true);
    if (!query.exec(statement)) {
        fail(query.lastError().databaseText());
    }
    return query;
}

void own_database::fail(const QString& reason) const
{
    refuse(QStringLiteral("cannot read %1: %2").arg(display_text(path), reason));
}
