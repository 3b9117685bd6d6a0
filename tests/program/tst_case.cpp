#include "tests/program/case_fixture.h"

class tst_case : public QObject
{
    Q_OBJECT

private slots:
    void sources_get_index_and_identity()
    {
        const case_fixture fixture(2);
        QCOMPARE(fixture.run({"status"}).exit_code, 6);
        // The same source under another path.
        QVERIFY(QFile::link(fixture.source(1), fixture.source(7)));
        const program_result again = fixture.run({"add"}, {fixture.source(7)});
        QCOMPARE(again.exit_code, 3);
        QVERIFY2(again.errors.contains("with index 1"), again.errors.constData());
        QCOMPARE(fixture.run({"add"}, {fixture.path() + ".."}).exit_code, 3);
        // A row that a person adds gets its index; one that a person deletes is withdrawn, and its index is not given
        // again.
        write_file(fixture.source(3) + "/private/var/db/.AppleSetupDone");
        write_file(fixture.path("sources.csv"), "index;source;shelf\r\n2;../mac2;A\r\n;../mac3;B\r\n");
        QCOMPARE(fixture.run({"status"}).exit_code, 6);
        QCOMPARE(fixture.run({"add"}).exit_code, 0);
        QCOMPARE(content_of(fixture.path("sources.csv")), "index;source;shelf\n2;../mac2;A\n3;../mac3;B\n");
        QCOMPARE(fixture.states(), (QStringList{"withdrawn", "waiting", "waiting"}));
        const program_result withdrawn = fixture.run({"run"}, {"--index", "1"});
        QCOMPARE(withdrawn.exit_code, 1);
        QVERIFY2(withdrawn.errors.contains("withdrawn"), withdrawn.errors.constData());
    }

    void runs_all_and_one()
    {
        const case_fixture fixture(4);
        QDir(fixture.source(2) + "/Users/ann/Library").removeRecursively();
        QVERIFY(QDir().rename(fixture.source(3), fixture.source(9)));
        QCOMPARE(fixture.run({"run"}, {"--jobs", "2"}).exit_code, 3);
        // The second one had mail when it was added: it is another source now.
        QCOMPARE(fixture.states(), (QStringList{"whole", "failed", "failed", "whole"}));
        QVERIFY(QFile::exists(fixture.results(1, "whole/mail-extract/manifest.csv")));
        const program_result done = fixture.run({"run"}, {"--index", "1"});
        QCOMPARE(done.exit_code, 0);
        QVERIFY2(done.output.contains("already done"), done.output.constData());
        QVERIFY(QDir().rename(fixture.source(9), fixture.source(3)));
        qputenv("JOB_COMPLETION_INDEX", "2");
        QCOMPARE(fixture.run({"run"}).exit_code, 0);
        qunsetenv("JOB_COMPLETION_INDEX");
        QCOMPARE(fixture.states(), (QStringList{"whole", "failed", "whole", "whole"}));
        QCOMPARE(QDir(fixture.results(3)).entryList({"attempt-*"}, QDir::Dirs).size(), 2);
    }

    void another_disk_at_the_path_is_refused()
    {
        const case_fixture fixture(2);
        QVERIFY(QDir().rename(fixture.source(1), fixture.source(8)));
        QVERIFY(QDir().rename(fixture.source(2), fixture.source(1)));
        const program_result refused = fixture.run({"run"}, {"--index", "1"});
        QCOMPARE(refused.exit_code, 1);
        QVERIFY2(refused.errors.contains("another source lies there"), refused.errors.constData());
        // A node that mounts it elsewhere reads the right one.
        QCOMPARE(fixture.run({"run"}, {"--index", "1", "--map", fixture.source(1) + "=" + fixture.source(8)}).exit_code,
                 0);
    }

    void damage_is_named_data()
    {
        QTest::addColumn<QString>("file"); // below the case; "1/..." below the results of the first source
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("exit_code");
        QTest::newRow("case") << "case.json" << QByteArray("{") << 1;
        QTest::newRow("another format") << "case.json" << QByteArray("{\"format\": 9}") << 1;
        QTest::newRow("list") << "sources.csv" << QByteArray("index\n1\n") << 1;
        QTest::newRow("record of the result") << "1/attempt-1-HOST.json" << QByteArray("[]") << 3;
        QTest::newRow("record of another") << "1/attempt-1-HOST.json" << QByteArray("{\"state\": \"whole\"}") << 3;
        QTest::newRow("state of none") << "2/state.json" << QByteArray("{\"state\": \"perfect\"}") << 3;
        QTest::newRow("state without result") << "2/state.json" << QByteArray("{\"state\": \"whole\"}") << 3;
        QTest::newRow("huge state") << "2/state.json" << QByteArray(2 << 20, ' ') << 3;
    }
    void damage_is_named()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, content);
        const case_fixture fixture(2);
        QCOMPARE(fixture.run({"run"}, {"--jobs", "2"}).exit_code, 0);
        QVERIFY(QFile::remove(fixture.results(2, "whole")));
        QString path = fixture.path(file);
        if (file.at(1) == '/') {
            path = fixture.results(file.left(1).toInt(), file.mid(2));
            path.replace("HOST", QSysInfo::machineHostName());
        }
        write_file(path, content);
        const program_result status = fixture.run({"status"});
        QTEST(status.exit_code, "exit_code");
        QVERIFY2((status.output + status.errors).contains(path.toUtf8()), (status.output + status.errors).constData());
    }

    void whole_leads_nowhere_else()
    {
        const case_fixture fixture(1);
        QVERIFY(QFile::link("../../../etc", fixture.results(1, "whole")));
        QCOMPARE(fixture.states(), QStringList{"failed"});
        QCOMPARE(fixture.run({"run"}).exit_code, 0);
        QCOMPARE(fixture.states(), QStringList{"whole"});
    }

    void failures_are_done_again_on_request()
    {
        const case_fixture fixture(1);
        QCOMPARE(fixture.run({"run"}).exit_code, 0);
        const QString record = fixture.results(1, "attempt-1-" + QSysInfo::machineHostName() + ".json");
        write_file(record, content_of(record).replace("\"whole\"", "\"with failures\""));
        QCOMPARE(fixture.run({"status"}).exit_code, 3);
        QCOMPARE(fixture.run({"run"}, {"--index", "1"}).exit_code, 3);
        QCOMPARE(fixture.run({"run"}, {"--retry", "partial"}).exit_code, 3);
        QCOMPARE(fixture.run({"run"}, {"--retry", "failed"}).exit_code, 0);
        QCOMPARE(fixture.states(), QStringList{"whole"});
    }
};

QTEST_GUILESS_MAIN(tst_case)
#include "tst_case.moc"
