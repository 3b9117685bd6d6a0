#include "tests/program/case_fixture.h"

#include <QSqlDatabase>
#include <QSqlQuery>

namespace {

/// Runs a statement on a database; the rows' first fields, joined.
QString rows_of(const QString& path, const QString& statement)
{
    QStringList rows;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "read");
        database.setDatabaseName(path);
        if (!database.open()) {
            return "cannot be opened";
        }
        QSqlQuery query(database);
        query.exec(statement);
        while (query.next()) {
            rows.append(query.value(0).toString());
        }
    }
    QSqlDatabase::removeDatabase("read");
    return rows.join(' ');
}

QString database_of(const case_fixture& fixture, int number)
{
    return fixture.results(number, "whole/Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor.sqlite");
}

} // namespace

class tst_case_collect : public QObject
{
    Q_OBJECT

private slots:
    void every_row_of_every_result()
    {
        const case_fixture fixture(3);
        write_file(fixture.source(3) + "/Users/ben/Library/Mail/V9/IMAP-ann1@imap.example.org/1.emlx");
        QVERIFY(QFile::remove(fixture.results(3, "identity.json")));
        QVERIFY(QDir(fixture.results(3)).removeRecursively());
        write_file(fixture.path("sources.csv"),
                   "index,evidence_number,source\n1,=1+2,../mac1\n2,EV-2,../mac2\n,EV-4,../mac3\n");
        QCOMPARE(fixture.run({"add"}).exit_code, 0);
        QCOMPARE(fixture.run({"run"}, {"--jobs", "2"}).exit_code, 0);
        QCOMPARE(fixture.run({"collect"}).exit_code, 0);
        const QString all = fixture.path("collected/case.sqlite");
        QCOMPARE(rows_of(all, "SELECT source_index || '=' || count(*) FROM accounts GROUP BY source_index"),
                 "1=1 2=1 3=2");
        QCOMPARE(rows_of(all, "SELECT state FROM sources"), "whole whole whole");
        QCOMPARE(rows_of(all, "SELECT source_index || value FROM accounts_across_sources ORDER BY 1"),
                 "1ann1@example.org 3ann1@example.org");
        QVERIFY(content_of(fixture.path("collected/sources.csv")).contains("'=1+2"));
        const QByteArray report = content_of(fixture.path("collected/report.html"));
        QVERIFY(report.contains("../results/0002-EV-2/whole/mail-extract/report.html"));
        QVERIFY(QFile::exists(fixture.path("collected/../results/0002-EV-2/whole/mail-extract/report.html")));
    }

    void damaged_results_are_named_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("manifest") << "mail-extract/manifest.csv";
        QTest::newRow("database") << "Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor.sqlite";
        QTest::newRow("a journal") << "Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor.sqlite-journal";
    }
    void damaged_results_are_named()
    {
        QFETCH(QString, file);
        const case_fixture fixture(3);
        QCOMPARE(fixture.run({"run"}, {"--jobs", "2"}).exit_code, 0);
        const QString path = fixture.results(2, "whole/" + file);
        write_file(path, content_of(path) + "x");
        const program_result collected = fixture.run({"collect"});
        QCOMPARE(collected.exit_code, 3);
        QVERIFY2(collected.errors.contains("0002 EV-2: not collected: "), collected.errors.constData());
        const QString all = fixture.path("collected/case.sqlite");
        QCOMPARE(rows_of(all, "SELECT DISTINCT source_index FROM accounts"), "1 3");
        QCOMPARE(rows_of(all, "SELECT source_index FROM sources WHERE NOT is_collected AND reason <> ''"), "2");
        QVERIFY(content_of(fixture.path("collected/report.html")).contains("not collected"));
    }

    void a_database_of_another_is_not_taken_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::newRow("no accounts") << "DROP TABLE accounts";
        QTest::newRow("a table of ours") << "CREATE TABLE sources(x)";
        QTest::newRow("a column of ours") << "ALTER TABLE accounts ADD COLUMN Source_Index";
    }
    /// Whoever can change a result can change what was written down of it; what is taken must still be one of ours.
    void a_database_of_another_is_not_taken()
    {
        QFETCH(QString, statement);
        const case_fixture fixture(2);
        QCOMPARE(fixture.run({"run"}, {"--jobs", "2"}).exit_code, 0);
        rows_of(database_of(fixture, 1), statement);
        const QString record = fixture.results(1, "attempt-1-" + QSysInfo::machineHostName() + ".json");
        QJsonObject object = QJsonDocument::fromJson(content_of(record)).object();
        object["database_sha256"] = "";
        write_file(record, QJsonDocument(object).toJson());
        QCOMPARE(fixture.run({"collect"}).exit_code, 3);
        QCOMPARE(rows_of(fixture.path("collected/case.sqlite"), "SELECT DISTINCT source_index FROM accounts"), "2");
    }

    void tables_of_the_program_come_along()
    {
        const case_fixture fixture(2);
        QCOMPARE(fixture.run({"run"}, {"--jobs", "2"}).exit_code, 0);
        for (int i = 1; i <= 2; ++i) {
            const QString mail = fixture.results(i, "whole/mail-extract/mail.sqlite");
            QFile::remove(mail);
            rows_of(mail, "CREATE TABLE accounts(account INTEGER, address TEXT)");
            rows_of(mail, "CREATE TABLE \"odd \"\" name\"(a, b BLOB)");
            rows_of(mail, "INSERT INTO \"odd \"\" name\" VALUES(1, x'00ff')");
        }
        rows_of(fixture.results(2, "whole/mail-extract/mail.sqlite"), "ALTER TABLE accounts ADD COLUMN more TEXT");
        rows_of(fixture.results(2, "whole/mail-extract/mail.sqlite"), "INSERT INTO accounts VALUES(4, 'a', 'm')");
        QCOMPARE(fixture.run({"collect"}).exit_code, 0);
        const QString all = fixture.path("collected/case.sqlite");
        QCOMPARE(rows_of(all, "SELECT count(*) FROM accounts"), "2");
        QCOMPARE(rows_of(all, "SELECT source_index || address || more FROM mail_accounts"), "2am");
        QCOMPARE(rows_of(all, "SELECT source_index || hex(b) FROM \"odd \"\" name\""), "100FF 200FF");
        QVERIFY(content_of(fixture.path("collected/odd---name.csv")).contains("1,1,0x00ff"));
    }

    void unfinished_only_on_request()
    {
        const case_fixture fixture(2);
        QCOMPARE(fixture.run({"run"}, {"--index", "2"}).exit_code, 0);
        const program_result refused = fixture.run({"collect"});
        QCOMPARE(refused.exit_code, 6);
        QVERIFY2(refused.errors.contains("0001 EV-1: waiting"), refused.errors.constData());
        QVERIFY(!QFile::exists(fixture.path("collected")));
        QCOMPARE(fixture.run({"collect"}, {"--partial"}).exit_code, 6);
        QCOMPARE(rows_of(fixture.path("collected/case.sqlite"), "SELECT state FROM sources"), "waiting whole");
        QCOMPARE(fixture.run({"run"}).exit_code, 0);
        QCOMPARE(fixture.run({"collect"}).exit_code, 0);
        QCOMPARE(rows_of(fixture.path("collected/case.sqlite"), "SELECT state FROM sources"), "whole whole");
    }
};

QTEST_GUILESS_MAIN(tst_case_collect)
#include "tst_case_collect.moc"
