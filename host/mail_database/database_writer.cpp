#include "host/mail_database/database_writer.h"

#include "host/files/quiet_reading.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <sqlite3.h>

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

/// Unless it is copied (SQLITE_TRANSIENT), the value must stay as it is until the statement has run.
int bind(sqlite3_stmt* statement, int position, const QVariant& value, sqlite3_destructor_type copying)
{
    switch (value.typeId()) {
    case QMetaType::UnknownType:
        return sqlite3_bind_null(statement, position);
    case QMetaType::QString: {
        const auto* text = static_cast<const QString*>(value.constData());
        return text->isNull() ? sqlite3_bind_null(statement, position)
                              : sqlite3_bind_text16(statement, position, text->utf16(),
                                                    int(text->size() * qsizetype(sizeof(QChar))), copying);
    }
    case QMetaType::QByteArray: {
        const auto* text = static_cast<const QByteArray*>(value.constData());
        return text->isNull() ? sqlite3_bind_null(statement, position)
                              : sqlite3_bind_text(statement, position, text->constData(), int(text->size()), copying);
    }
    default:
        return sqlite3_bind_int64(statement, position, value.toLongLong());
    }
}

/// Binds values to the columns behind the first ones.
int bind_all(sqlite3_stmt* statement, int first, const QVariantList& values, sqlite3_destructor_type copying)
{
    int code = SQLITE_OK;
    for (int position = 0; position < values.size() && code == SQLITE_OK; ++position) {
        code = bind(statement, first + position + 1, values[position], copying);
    }
    return code;
}

} // namespace

void prepared_insertion::finalizer::operator()(sqlite3_stmt* prepared) const
{
    sqlite3_finalize(prepared);
}

void mail_database_writer::closer::operator()(sqlite3* open) const
{
    sqlite3_close_v2(open);
}

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
    try {
        open();
    } catch (const failure&) {
        remove_temporary();
        throw;
    }
}

mail_database_writer::~mail_database_writer()
{
    remove_temporary();
}

void mail_database_writer::open()
{
    sqlite3* opened = nullptr;
    // One thread at a time writes here; a lock for each call would be felt.
    const int code = sqlite3_open_v2(QFile::encodeName(temporary).constData(), &opened,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    connection.reset(opened);
    if (code != SQLITE_OK) {
        fail_as_told();
    }
    // A file that is thrown away when anything fails needs no journal beside it.
    execute(QStringLiteral("PRAGMA journal_mode=MEMORY"));
    execute(QStringLiteral("PRAGMA synchronous=OFF"));
    // Rows are added and not asked for again.
    execute(QStringLiteral("PRAGMA cache_size=-512"));
    execute(QStringLiteral("PRAGMA user_version=%1").arg(schema_version));
    execute(QStringLiteral("BEGIN"));
}

void mail_database_writer::remove_temporary()
{
    connection.reset();
    if (!temporary.isEmpty()) {
        QFile::remove(temporary);
        temporary.clear();
    }
}

void mail_database_writer::fail(const QString& reason) const
{
    refuse(QStringLiteral("cannot write %1: %2").arg(display_text(path), reason));
}

void mail_database_writer::fail_as_told() const
{
    fail(connection ? QString::fromUtf8(sqlite3_errmsg(connection.get())) : QStringLiteral("out of memory"));
}

void mail_database_writer::execute(const QString& statement)
{
    if (sqlite3_exec(connection.get(), statement.toUtf8().constData(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        fail_as_told();
    }
}

prepared_insertion mail_database_writer::prepare(const QString& statement)
{
    sqlite3_stmt* prepared = nullptr;
    if (sqlite3_prepare_v2(connection.get(), statement.toUtf8().constData(), -1, &prepared, nullptr) != SQLITE_OK) {
        fail_as_told();
    }
    return prepared_insertion(prepared);
}

void mail_database_writer::keep_values(prepared_insertion& into, const QVariantList& values)
{
    if (bind_all(into.statement.get(), 0, values, SQLITE_TRANSIENT) != SQLITE_OK) {
        fail_as_told();
    }
    into.same_values = int(values.size());
}

void mail_database_writer::insert(prepared_insertion& into, const QVariantList& values)
{
    sqlite3_stmt* statement = into.statement.get();
    const int code = bind_all(statement, into.same_values, values, SQLITE_STATIC);
    if (code != SQLITE_OK || sqlite3_step(statement) != SQLITE_DONE || sqlite3_reset(statement) != SQLITE_OK) {
        fail_as_told();
    }
}

void mail_database_writer::put_in_place()
{
    execute(QStringLiteral("COMMIT"));
    connection.reset();
    int error = synchronise(temporary, O_RDONLY);
    if (error == 0) {
        error =
            std::rename(QFile::encodeName(temporary).constData(), QFile::encodeName(path).constData()) == 0 ? 0 : errno;
    }
    if (error != 0) {
        fail(system_error_text(error));
    }
    temporary.clear();
    if (const int unwritten = synchronise(QFileInfo(path).path(), O_RDONLY | O_DIRECTORY)) {
        fail(system_error_text(unwritten));
    }
}
