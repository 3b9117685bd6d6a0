// Times the dossier of a store with many accounts: reading it, writing mail.sqlite and reading that back.

#include "host/accounts/dossier.h"
#include "host/mail_database/account_reading.h"
#include "host/mail_database/account_tables.h"
#include "sample/sample_plist.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <cstdio>

namespace {

void run(const QSqlDatabase& database, const QString& statement)
{
    QSqlQuery query(database);
    if (!query.exec(statement)) {
        qFatal("%s: %s", qUtf8Printable(statement), qUtf8Printable(query.lastError().text()));
    }
}

void insert(QSqlQuery& query, const QVariantList& values)
{
    for (int position = 0; position < values.size(); ++position) {
        query.bindValue(position, values[position]);
    }
    if (!query.exec()) {
        qFatal("%s", qUtf8Printable(query.lastError().text()));
    }
}

/// Half of the accounts receive, half send; all of them share one parent.
void fill(const QSqlDatabase& database, int accounts)
{
    constexpr const char* accounts_table =
        "CREATE TABLE ZACCOUNT(Z_PK INTEGER PRIMARY KEY, ZACTIVE, ZVISIBLE, ZAUTHENTICATED, ZACCOUNTTYPE, "
        "ZPARENTACCOUNT, ZDATE, ZACCOUNTDESCRIPTION, ZIDENTIFIER, ZUSERNAME, ZDATACLASSPROPERTIES BLOB)";
    for (const char* statement :
         {"PRAGMA synchronous=OFF", accounts_table, "CREATE TABLE ZACCOUNTTYPE(Z_PK INTEGER PRIMARY KEY, ZIDENTIFIER)",
          "CREATE TABLE ZACCOUNTPROPERTY(ZOWNER, ZKEY, ZVALUE BLOB)",
          "CREATE TABLE ZDATACLASS(Z_PK INTEGER PRIMARY KEY, ZNAME BLOB)",
          "CREATE TABLE Z_2ENABLEDDATACLASSES(Z_2ENABLEDACCOUNTS, Z_7ENABLEDDATACLASSES)",
          "INSERT INTO ZACCOUNTTYPE VALUES(1,'com.apple.account.IMAP'),(2,'com.apple.account.SMTP')", "BEGIN"}) {
        run(database, QLatin1String(statement));
    }
    QSqlQuery account(database);
    account.prepare(QStringLiteral("INSERT INTO ZACCOUNT VALUES(?,1,1,1,?,1,694224000.5,'Work',?,?,NULL)"));
    QSqlQuery property(database);
    property.prepare(QStringLiteral("INSERT INTO ZACCOUNTPROPERTY VALUES(?,?,?)"));
    for (int key = 1; key <= accounts; ++key) {
        const QString address = QStringLiteral("user%1@example.org").arg(key);
        insert(account, {key, 1 + key % 2, QStringLiteral("ACCOUNT-%1").arg(key), address});
        for (const auto& [name, value] :
             {std::pair{"Hostname", QVariant(QStringLiteral("mail%1.example.org").arg(key % 50))},
              std::pair{"PortNumber", QVariant(993)}, std::pair{"SSLEnabled", QVariant(true)},
              std::pair{"SSLIsDirect", QVariant(true)}, std::pair{"IdentityEmailAddress", QVariant(address)},
              std::pair{"ACPropertyFullName", QVariant(QStringLiteral("User %1").arg(key))},
              std::pair{"SendingAccountIdentifier", QVariant(QStringLiteral("ACCOUNT-%1").arg(key + 1))},
              std::pair{"lastAuthenticationServerResponse", QVariant(QByteArray(200, 'x'))}}) {
            insert(property, {key, QLatin1String(name), to_keyed_archive(value)});
        }
    }
    run(database, QStringLiteral("COMMIT"));
}

double seconds(const QElapsedTimer& timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const int accounts = argc > 1 ? QByteArray(argv[1]).toInt() : 10'000;
    const QTemporaryDir directory;
    const QString source = directory.filePath(QStringLiteral("source"));
    const QString folder = source + QStringLiteral("/Users/u/Library/Accounts");
    const result_paths result(directory.filePath(QStringLiteral("result")));
    QDir().mkpath(folder);
    QDir().mkpath(result.products());
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("bench"));
        database.setDatabaseName(folder + QStringLiteral("/Accounts4.sqlite"));
        database.open();
        fill(database, accounts);
    }
    QSqlDatabase::removeDatabase(QStringLiteral("bench"));

    QElapsedTimer timer;
    timer.start();
    const account_dossier dossier = read_dossier({QFile::encodeName(source), {"u"}, directory.path()});
    const double reading = seconds(timer);
    timer.restart();
    mail_database_writer writer(result.path(product::mail_database));
    write_account_tables(writer, dossier);
    writer.put_in_place();
    const double writing = seconds(timer);
    timer.restart();
    const account_dossier back = read_accounts(result);
    std::printf("%lld accounts: %.2f s to read the store, %.2f s to write the database, %.2f s to read it back\n",
                static_cast<long long>(back.accounts.size()), reading, writing, seconds(timer));
    for (const QString& problem : dossier.problems) {
        std::printf("%s\n", qUtf8Printable(problem));
    }
    return back.accounts.size() == accounts ? 0 : 1;
}
