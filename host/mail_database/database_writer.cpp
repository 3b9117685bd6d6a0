#include "host/mail_database/database_writer.h"

#include "host/files/quiet_reading.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QTemporaryFile>

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace {

// Of the tables that docs/results.md describes.
constexpr int schema_version = 1;

/// Asks the system to put a file, or a directory's names, on the disk; 0 or an error number.
int synchronise(const QString& path, int flags)
{
    const file_descriptor descriptor(::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC | O_NOFOLLOW));
    return descriptor.is_open() && ::fsync(descriptor.get()) == 0 ? 0 : errno;
}

} // namespace

mail_database_writer::mail_database_writer(const QString& target) : path(target)
{
    // Made anew by the system, so that nothing that was put there is followed or written into.
    QTemporaryFile fresh(path + QStringLiteral(".XXXXXX"));
    fresh.setAutoRemove(false);
    if (!fresh.open()) {
        fail(fresh.errorString());
    }
    temporary = fresh.fileName();
    fresh.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    fresh.close();

    connection_name = QStringLiteral("mail_database_writer ") + temporary;
    database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection_name);
    database.setDatabaseName(temporary);
    if (!database.open()) {
        const QString reason = database.lastError().databaseText();
        close();
        fail(reason);
    }
    // A file that is thrown away when anything fails needs no journal beside it.
    try {
        execute(QStringLiteral("PRAGMA journal_mode=MEMORY"));
        execute(QStringLiteral("PRAGMA synchronous=OFF"));
        execute(QStringLiteral("PRAGMA user_version=%1").arg(schema_version));
        execute(QStringLiteral("BEGIN"));
    } catch (const failure&) {
        close();
        throw;
    }
}

mail_database_writer::~mail_database_writer()
{
    close();
}

void mail_database_writer::close()
{
    if (!connection_name.isEmpty()) {
        database = QSqlDatabase();
        QSqlDatabase::removeDatabase(connection_name);
        connection_name.clear();
    }
    if (!temporary.isEmpty()) {
        QFile::remove(temporary);
        temporary.clear();
    }
}

void mail_database_writer::fail(const QString& reason) const
{
    refuse(QStringLiteral("cannot write %1: %2").arg(display_text(path), reason));
}

void mail_database_writer::execute(const QString& statement)
{
    QSqlQuery query(database);
    if (!query.exec(statement)) {
        fail(query.lastError().databaseText());
    }
}

QSqlQuery mail_database_writer::prepare(const QString& statement)
{
    QSqlQuery query(database);
    if (!query.prepare(statement)) {
        fail(query.lastError().databaseText());
    }
    return query;
}

void mail_database_writer::insert(QSqlQuery& statement, const QVariantList& values)
{
    for (int position = 0; position < values.size(); ++position) {
        statement.bindValue(position, values[position]);
    }
    if (!statement.exec()) {
        fail(statement.lastError().databaseText());
    }
}

void mail_database_writer::put_in_place()
{
    execute(QStringLiteral("COMMIT"));
    database.close();
    int error = synchronise(temporary, O_RDONLY);
    if (error == 0) {
        error =
            std::rename(QFile::encodeName(temporary).constData(), QFile::encodeName(path).constData()) == 0 ? 0 : errno;
    }
    if (error != 0) {
        const QString reason = system_error_text(error);
        close();
        fail(reason);
    }
    temporary.clear();
    close();
    if (const int unwritten = synchronise(QFileInfo(path).path(), O_RDONLY | O_DIRECTORY)) {
        fail(system_error_text(unwritten));
    }
}
