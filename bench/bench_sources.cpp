#include "bench/bench_sources.h"

#include <QDir>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>

namespace {

void must(bool done, const QString& what)
{
    if (!done) {
        qFatal("cannot write %s", qPrintable(what));
    }
}

void write_file(const QString& path, int number)
{
    QFile file(path);
    must(file.open(QIODevice::WriteOnly), path);
    const int size = 1024 * (1 + number % 8);
    must(file.write(QByteArray(size, static_cast<char>('a' + number % 26))) == size, path);
}

QString identifier(int number)
{
    return QStringLiteral("%1-0000-4000-8000-%2")
        .arg(number, 8, 16, QLatin1Char('0'))
        .arg(number, 12, 16, QLatin1Char('0'))
        .toUpper();
}

} // namespace

void write_message_source(const QString& root, int files)
{
    constexpr int files_per_folder = 50;
    QString folder;
    for (int i = 0; i < files; ++i) {
        if (i % files_per_folder == 0) {
            const int number = i / files_per_folder;
            folder = QStringLiteral("%1/Users/ann/Library/Mail/V2/%2/INBOX.mbox/%3/Data/%4/Messages")
                         .arg(root, identifier(number / 100), identifier(number))
                         .arg(number % 10);
            must(QDir().mkpath(folder), folder);
        }
        write_file(QStringLiteral("%1/%2.emlx").arg(folder).arg(i), i);
    }
}

void write_account_source(const QString& root, int accounts, int files_per_account)
{
    const QString library = root + QStringLiteral("/Users/ann/Library");
    must(QDir().mkpath(library + QStringLiteral("/Accounts")), library);
    {
        QSqlDatabase store = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("bench_store"));
        store.setDatabaseName(library + QStringLiteral("/Accounts/Accounts4.sqlite"));
        must(store.open() && store.transaction(), store.databaseName());
        QSqlQuery query(store);
        must(query.exec(QStringLiteral(
                 "create table ZACCOUNT (Z_PK INTEGER PRIMARY KEY, ZPARENTACCOUNT INTEGER, ZACCOUNTDESCRIPTION VARCHAR,"
                 "ZIDENTIFIER VARCHAR, ZOWNINGBUNDLEID VARCHAR, ZUSERNAME VARCHAR, ZDATACLASSPROPERTIES BLOB)")),
             store.databaseName());
        for (int i = 0; i < accounts; ++i) {
            must(query.exec(
                     QStringLiteral("insert into ZACCOUNT (ZIDENTIFIER, ZUSERNAME) values ('%1', 'user%2@example.org')")
                         .arg(identifier(i))
                         .arg(i)),
                 store.databaseName());
        }
        must(store.commit(), store.databaseName());
        store.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("bench_store"));
    for (int i = 0; i < accounts; ++i) {
        const QString folder = library + QStringLiteral("/Mail/V9/") + identifier(i);
        must(QDir().mkpath(folder), folder);
        for (int k = 0; k < files_per_account; ++k) {
            write_file(QStringLiteral("%1/%2-%3.emlx").arg(folder).arg(i).arg(k), k);
        }
    }
}
