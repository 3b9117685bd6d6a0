#include "tests/program/case_fixture.h"

#include <QProcess>
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

    void scratch_without_room_leaves_the_earlier_collection()
    {
        const case_fixture fixture(2);
        QCOMPARE(fixture.run({"run"}, {"--jobs", "2"}).exit_code, 0);
        QCOMPARE(fixture.run({"collect"}).exit_code, 0);
        QFile report(fixture.path("collected/report.html"));
        QVERIFY(report.setPermissions(QFile::ReadOwner)); // by which the earlier one is known again
        QProcess limited;                                 // in KiB
        limited.start("bash", {"-c", "trap '' XFSZ; ulimit -f 64; exec \"$0\" case collect \"$1\"",
                               MAIL_EXTRACT_PROGRAM, fixture.path()});
        QVERIFY(limited.waitForFinished(-1));
        QCOMPARE(limited.exitCode(), 1);
        QVERIFY(limited.readAllStandardError().contains("mail_part-1.sqlite: at byte"));
        QCOMPARE(report.permissions() & QFile::WriteOwner, QFile::Permissions());
    }

    void results_elsewhere_are_named()
    {
        const case_fixture fixture(2);
        QCOMPARE(fixture.run({"run"}, {"--jobs", "2"}).exit_code, 0);
        const QString moved = fixture.results(1, "attempt-1-" + QSysInfo::machineHostName());
        QVERIFY(QDir().rename(moved, fixture.source(9)) && QFile::link(fixture.source(9), moved));
        QVERIFY(QFile::remove(fixture.results(2, "whole")));
        for (const char* command : {"collect", "verify"}) {
            const program_result checked = fixture.run({command});
            QCOMPARE(checked.exit_code, 3);
            QVERIFY2(checked.errors.contains(moved.toUtf8() + ": symbolic link"), checked.errors.constData());
            QVERIFY2(checked.errors.contains("there is no \"whole\""), checked.errors.constData());
        }
    }

    void damaged_results_are_named_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("manifest") << "mail-extract/manifest.csv";
        QTest::newRow("record of the run") << "mail-extract/run.json";
        QTest::newRow("database") << "Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor.sqlite";
        QTest::newRow("the program's database") << "mail-extract/mail.sqlite";
        QTest::newRow("seal") << "mail-extract/seal.txt";
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

    void every_table_of_the_program()
    {
        const case_fixture fixture(2);
        QCOMPARE(fixture.run({"run"}, {"--jobs", "2"}).exit_code, 0);
        QCOMPARE(fixture.run({"collect"}).exit_code, 0);
        const QString all = fixture.path("collected/case.sqlite");
        const QString part = fixture.results(1, "whole/mail-extract/mail.sqlite");
        const QStringList tables = rows_of(part, "SELECT name FROM sqlite_master WHERE type = 'table'").split(' ');
        QVERIFY(tables.contains("accounts"));
        for (const QString& table : tables) {
            const QString target = table == "accounts" ? "mail_accounts" : table;
            QCOMPARE(rows_of(all, "SELECT count(*) FROM " + target + " WHERE source_index = 1"),
                     rows_of(part, "SELECT count(*) FROM " + table));
            QVERIFY(QFile::exists(fixture.path("collected/" + target + ".csv")));
        }
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
