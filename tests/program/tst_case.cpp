#include "tests/program/case_fixture.h"

namespace fs = std::filesystem;

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

    void index_of_a_scheduler_data()
    {
        QTest::addColumn<QByteArray>("variable");
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QStringList>("states"); // none where it is refused
        const QStringList all{"whole", "whole"};
        QTest::newRow("the second") << QByteArray("PARALLEL_SEQ") << QByteArray("2") << QStringList{"waiting", "whole"};
        QTest::newRow("none of many") << QByteArray("SGE_TASK_ID") << QByteArray("undefined") << all;
        QTest::newRow("empty") << QByteArray("SLURM_ARRAY_TASK_ID") << QByteArray("") << all;
        // Each task of an array that begins with 0 would run the whole case otherwise.
        QTest::newRow("zero") << QByteArray("SLURM_ARRAY_TASK_ID") << QByteArray("0") << QStringList();
        QTest::newRow("no number") << QByteArray("PARALLEL_SEQ") << QByteArray("0x2") << QStringList();
        QTest::newRow("one too many") << QByteArray("JOB_COMPLETION_INDEX") << QByteArray("2147483647")
                                      << QStringList();
        QTest::newRow("huge") << QByteArray("SLURM_ARRAY_TASK_ID") << QByteArray("4294967297") << QStringList();
    }
    void index_of_a_scheduler()
    {
        QFETCH(QByteArray, variable);
        QFETCH(QByteArray, value);
        QFETCH(QStringList, states);
        const case_fixture fixture(2);
        qputenv(variable.constData(), value);
        const int exit_code = fixture.run({"run"}).exit_code;
        qunsetenv(variable.constData());
        QCOMPARE(exit_code, states.isEmpty() ? 2 : 0);
        QCOMPARE(fixture.states(), states.isEmpty() ? QStringList({"waiting", "waiting"}) : states);
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

    void what_was_absent_is_told_apart_later()
    {
        const case_fixture fixture(1);
        // Where its disk is not mounted, it is no source without mail.
        QVERIFY(QDir().mkpath(fixture.source(7)));
        QCOMPARE(fixture.run({"add"}, {fixture.source(7), fixture.source(8)}).exit_code, 3);
        QVERIFY(fixture.run({"add"}, {fixture.source(7)}).errors.contains("with index 2"));
        QVERIFY(fixture.run({"run"}, {"--index", "2"}).errors.contains("it is empty"));
        write_file(fixture.source(7) + "/private/var/db/.AppleSetupDone");
        const program_result mapped =
            fixture.run({"run"}, {"--quiet", "--map", fixture.source(8) + "=" + fixture.source(7)});
        QVERIFY2(mapped.errors.contains("with index 2"), mapped.errors.constData());
        QCOMPARE(fixture.states(), (QStringList{"whole", "no mail", "failed"}));
        // What was refused is not what the source is taken for from then on.
        write_file(fixture.source(8) + "/private/var/db/.AppleSetupDone");
        QCOMPARE(fixture.run({"run"}).exit_code, 0);
        QCOMPARE(fixture.run({"add"}, {fixture.path("results")}).exit_code, 3);
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
        QTest::newRow("what the source is") << "1/identity.json" << QByteArray("[]") << 3;
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

    void results_of_another_source_do_not_count_data()
    {
        QTest::addColumn<QString>("what"); // of the first source's lies with the second
        QTest::newRow("a result") << "attempt-1-HOST";
        QTest::newRow("all that there is") << "";
    }
    void results_of_another_source_do_not_count()
    {
        QFETCH(QString, what);
        const case_fixture fixture(2);
        QCOMPARE(fixture.run({"run"}).exit_code, 0);
        what.replace("HOST", QSysInfo::machineHostName());
        for (const QString& ending : what.isEmpty() ? QStringList{""} : QStringList{"", ".json"}) {
            const fs::path first = fixture.results(1, what + ending).toStdString();
            const fs::path second = fixture.results(2, what + ending).toStdString();
            fs::rename(second, fixture.path("aside").toStdString());
            fs::rename(first, second);
            fs::rename(fixture.path("aside").toStdString(), first);
        }
        QCOMPARE(fixture.states(), (QStringList{"failed", "failed"}));
        QCOMPARE(fixture.run({"collect"}).exit_code, 3);
    }

    void numbers_of_a_damaged_record_do_not_wrap()
    {
        const case_fixture fixture(2);
        QCOMPARE(fixture.run({"run"}).exit_code, 0);
        for (const int number : {1, 2}) {
            const QString path = fixture.results(number, "attempt-1-" + QSysInfo::machineHostName() + ".json");
            write_file(path, content_of(path).replace("\"bytes\": ", "\"bytes\": 922337203685477580"));
        }
        QVERIFY(fixture.run({"status"}, {"--json"}).json()["totals"]["bytes"].toInteger() > 0);
        QCOMPARE(fixture.run({"collect"}).exit_code, 0);
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
