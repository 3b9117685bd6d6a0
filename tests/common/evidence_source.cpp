#include "tests/common/evidence_source.h"

#include "tests/common/files.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

namespace {

void require(bool done, const QString& what)
{
    if (!done) {
        qFatal("the fixture could not be made: %s", qUtf8Printable(what));
    }
}

void execute(const QSqlDatabase& database, const QString& statement, const QStringList& values = {})
{
    QSqlQuery query(database);
    query.prepare(statement);
    for (const QString& value : values) {
        query.addBindValue(value.isEmpty() ? QVariant() : value);
    }
    require(query.exec(), query.lastError().text());
}

void insert_accounts(const QSqlDatabase& database, const QString& accounts)
{
    for (const QString& account : accounts.split('|', Qt::SkipEmptyParts)) {
        execute(database, "INSERT INTO ZACCOUNT VALUES (?, ?, ?, ?, 'bundle', 'description', NULL)",
                account.split(':'));
    }
}

} // namespace

evidence_source::evidence_source()
{
    require(QDir(directory.path()).mkpath("source/Users") && QDir(directory.path()).mkpath("case"), directory.path());
}

evidence_source::~evidence_source()
{
    if (QTest::currentTestFailed()) {
        directory.setAutoRemove(false);
        qWarning("the fixture is kept in %s", qUtf8Printable(directory.path()));
    }
}

QString evidence_source::add_file(const QString& path_below_root, const QByteArray& content) const
{
    return write_file(root() + path_below_root, content);
}

void evidence_source::add_mail(const QString& user, const QString& names) const
{
    for (const QString& name : names.split('|')) {
        const QString path = "Users/" + user + "/Library/Mail/" + name;
        if (name.endsWith('/')) {
            require(QDir(root()).mkpath(path), path);
        } else {
            add_file(path);
        }
    }
}

void evidence_source::add_link(const QString& name, const QString& target) const
{
    require(QFile::link(target, root() + "Users/ann/Library/Mail/" + name), name);
}

void evidence_source::add_store(const QString& user, const QString& accounts, const QString& only_in_log,
                                const QString& name) const
{
    // SQLite works elsewhere: what it leaves beside a database does not belong into the source.
    const QTemporaryDir workshop;
    const QString made = workshop.filePath(name);
    const QString store = root() + "Users/" + user + "/Library/Accounts/" + name;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "evidence");
        database.setDatabaseName(made);
        require(database.open(), made);
        execute(database, "PRAGMA journal_mode=WAL");
        execute(database, "PRAGMA wal_autocheckpoint=0");
        execute(database, "CREATE TABLE ZACCOUNT (Z_PK INTEGER PRIMARY KEY, ZIDENTIFIER, ZPARENTACCOUNT, ZUSERNAME, "
                          "ZOWNINGBUNDLEID, ZACCOUNTDESCRIPTION, ZDATACLASSPROPERTIES)");
        insert_accounts(database, accounts);
        execute(database, "PRAGMA wal_checkpoint(TRUNCATE)");
        insert_accounts(database, only_in_log);
        require(QDir().mkpath(QFileInfo(store).path()) && QFile::copy(made, store), store);
        require(only_in_log.isEmpty() || QFile::copy(made + "-wal", store + "-wal"), store);
        database.close();
    }
    QSqlDatabase::removeDatabase("evidence");
}
