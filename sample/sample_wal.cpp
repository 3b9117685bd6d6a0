#include "sample/sample_wal.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtEndian>

namespace {

constexpr qsizetype log_header_size = 32;
constexpr qsizetype frame_header_size = 24;
constexpr quint32 log_magic = 0x377f0682; // the lowest bit says that checksums read big-endian words

struct wal_checksum
{
    bool big_endian;
    quint32 first = 0;
    quint32 second = 0;

    void add(const char* bytes, qsizetype size)
    {
        for (qsizetype i = 0; i < size; i += 8) {
            first += word(bytes + i) + second;
            second += word(bytes + i + 4) + first;
        }
    }

    void store(char* place) const
    {
        qToBigEndian(first, place);
        qToBigEndian(second, place + 4);
    }

private:
    quint32 word(const char* bytes) const
    {
        return big_endian ? qFromBigEndian<quint32>(bytes) : qFromLittleEndian<quint32>(bytes);
    }
};

bool execute(QSqlDatabase& database, const QList<sample_statement>& statements, QString& error)
{
    QSqlQuery query(database);
    for (const sample_statement& statement : statements) {
        bool done = query.prepare(statement.text);
        if (done && statement.rows.isEmpty()) {
            done = query.exec();
        }
        for (qsizetype row = 0; done && row < statement.rows.size(); ++row) {
            for (qsizetype column = 0; column < statement.rows[row].size(); ++column) {
                query.bindValue(static_cast<int>(column), statement.rows[row][column]);
            }
            done = query.exec();
        }
        if (!done) {
            error = QStringLiteral("%1: %2").arg(statement.text, query.lastError().text());
            return false;
        }
    }
    return true;
}

bool execute_in_transaction(QSqlDatabase& database, const QList<sample_statement>& statements, QString& error)
{
    if (statements.isEmpty()) {
        return true;
    }
    return execute(database, {{QStringLiteral("begin"), {}}}, error) && execute(database, statements, error) &&
           execute(database, {{QStringLiteral("commit"), {}}}, error);
}

QList<sample_statement> plain(const QStringList& texts)
{
    QList<sample_statement> statements;
    for (const QString& text : texts) {
        statements.append({text, {}});
    }
    return statements;
}

bool fill(QSqlDatabase& database, const sample_database& content, QString& error)
{
    if (!database.open()) {
        error = QStringLiteral("%1: %2").arg(database.databaseName(), database.lastError().text());
        return false;
    }
    // The application's own settings; the log is emptied once and then never written back.
    return execute(database,
                   plain({QStringLiteral("pragma synchronous=off"), QStringLiteral("pragma page_size=4096"),
                          QStringLiteral("pragma auto_vacuum=2"), QStringLiteral("pragma journal_mode=wal"),
                          QStringLiteral("pragma wal_autocheckpoint=0")}),
                   error) &&
           execute_in_transaction(database, content.in_file, error) &&
           execute(database, plain({QStringLiteral("pragma wal_checkpoint(truncate)")}), error) &&
           execute_in_transaction(database, content.only_in_log, error);
}

bool read_file(const QString& path, QByteArray& content, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return false;
    }
    content = file.readAll();
    return true;
}

} // namespace

bool replace_wal_salts(QByteArray& log, quint32 first_salt, quint32 second_salt)
{
    if (log.size() < log_header_size) {
        return false;
    }
    char* const header = log.data();
    const auto magic = qFromBigEndian<quint32>(header);
    const qsizetype page_size = qFromBigEndian<quint32>(header + 8);
    if ((magic & ~1U) != log_magic || page_size < 512 ||
        (log.size() - log_header_size) % (frame_header_size + page_size) != 0) {
        return false;
    }

    wal_checksum checksum{(magic & 1U) != 0};
    qToBigEndian(first_salt, header + 16);
    qToBigEndian(second_salt, header + 20);
    checksum.add(header, 24);
    checksum.store(header + 24);
    for (qsizetype at = log_header_size; at < log.size(); at += frame_header_size + page_size) {
        char* const frame = header + at;
        qToBigEndian(first_salt, frame + 8);
        qToBigEndian(second_salt, frame + 12);
        checksum.add(frame, 8);
        checksum.add(frame + frame_header_size, page_size);
        checksum.store(frame + 16);
    }
    return true;
}

std::optional<sample_database_files> make_wal_database(const sample_database& content, sample_random& salts,
                                                       QString& error)
{
    const QTemporaryDir scratch;
    if (!scratch.isValid()) {
        error = QStringLiteral("no temporary directory: %1").arg(scratch.errorString());
        return {};
    }
    const QString path = scratch.filePath(QStringLiteral("database"));
    sample_database_files files;
    bool done = false;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), path);
        database.setDatabaseName(path);
        // Read while the connection is open: closing it would write the log back and delete it.
        done = fill(database, content, error) && read_file(path, files.database, error) &&
               read_file(path + QStringLiteral("-wal"), files.log, error);
    }
    QSqlDatabase::removeDatabase(path);
    if (!done) {
        return {};
    }
    const quint64 drawn = salts.next();
    if (!files.log.isEmpty() &&
        !replace_wal_salts(files.log, static_cast<quint32>(drawn >> 32), static_cast<quint32>(drawn))) {
        error = QStringLiteral("SQLite wrote a log of unknown form");
        return {};
    }
    return files;
}
