#include "tests/program/case_fixture.h"

#include <csignal>

namespace {

constexpr int long_enough_ms = 30'000;

void send(const QProcess& process, int signal_number)
{
    ::kill(static_cast<pid_t>(process.processId()), signal_number);
}

bool wait_for_copies(const case_fixture& fixture)
{
    return QTest::qWaitFor(
        [&fixture] {
            for (const QString& name : QDir(fixture.results(1)).entryList({"attempt-*"}, QDir::Dirs)) {
                if (QDir(fixture.results(1, name + "/Artifacts_Result")).exists()) {
                    return true;
                }
            }
            return false;
        },
        long_enough_ms);
}

bool wait_for_stale_lease(const case_fixture& fixture)
{
    return QTest::qWaitFor([&fixture] { return fixture.states() == QStringList{"partial"}; }, long_enough_ms);
}

int extraction_of(const QProcess& task)
{
    return content_of(QStringLiteral("/proc/%1/task/%1/children").arg(task.processId())).toInt();
}

/// What makes a task take the time to be so many hours later than it is, from its first look at the case on.
QProcessEnvironment environment_with_clock([[maybe_unused]] const case_fixture& fixture,
                                           [[maybe_unused]] int hours_ahead)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
#ifdef FAILING_CALLS
    environment.insert("LD_PRELOAD", FAILING_CALLS);
    environment.insert("FAULTS_ROOT", QDir::cleanPath(fixture.path()));
    environment.insert("FAULTS_KIND", "open");
    environment.insert("FAULTS_PATH", "case.json");
    environment.insert("FAULTS_NUMBER", "1");
    environment.insert("FAULTS_FORM", QStringLiteral("clock:%1").arg(hours_ahead * 3600));
#endif
    return environment;
}

} // namespace

class tst_case_takeover : public QObject
{
    Q_OBJECT

private slots:
    void a_stopped_task_comes_too_late_data()
    {
        QTest::addColumn<bool>("is_extraction_stopped");
        QTest::addColumn<bool>("continues_before_the_end");
        QTest::newRow("after the other has ended") << false << false;
        QTest::newRow("while the other is at work") << false << true;
        QTest::newRow("its extraction too") << true << true;
    }
    void a_stopped_task_comes_too_late()
    {
        QFETCH(bool, is_extraction_stopped);
        QFETCH(bool, continues_before_the_end);
        const case_fixture fixture(1);
        fixture.make_large(1, 1000);
        QProcess stopped;
        fixture.start(stopped, {"--index", "1"});
        QVERIFY(wait_for_copies(fixture));
        QCOMPARE(fixture.run({"run"}, {"--index", "1"}).exit_code, 75);
        const int extraction = extraction_of(stopped);
        send(stopped, SIGSTOP);
        if (is_extraction_stopped && extraction > 0) {
            ::kill(extraction, SIGSTOP);
        }
        QVERIFY(wait_for_stale_lease(fixture));
        QProcess next;
        fixture.start(next, {"--index", "1"});
        if (continues_before_the_end) {
            QTRY_COMPARE_WITH_TIMEOUT(QDir(fixture.results(1)).entryList({"attempt-2-*"}, QDir::Dirs).size(), 1,
                                      long_enough_ms);
            send(stopped, SIGCONT);
        }
        QCOMPARE(ending_of(next).exit_code, 0);
        send(stopped, SIGCONT);
        QCOMPARE(ending_of(stopped).exit_code, 75);
        QVERIFY(QFile::symLinkTarget(fixture.results(1, "whole")).contains("attempt-2-"));
        QCOMPARE(fixture.states(), QStringList{"whole"});
        QVERIFY(!QFile::exists(fixture.results(1, "lease")));
    }

    void an_extraction_that_stands_still_keeps_its_lease()
    {
        const case_fixture fixture(1);
        fixture.make_large(1, 1000);
        QProcess task;
        fixture.start(task, {"--index", "1"});
        QVERIFY(wait_for_copies(fixture));
        const int extraction = extraction_of(task);
        if (extraction <= 0) {
            QSKIP("the processes of a process cannot be told here, or the extraction is over");
        }
        ::kill(extraction, SIGSTOP);
        QTest::qSleep(2000); // four times what would make it look lost
        const QStringList states = fixture.states();
        const int other = fixture.run({"run"}, {"--index", "1"}).exit_code;
        ::kill(extraction, SIGCONT);
        QCOMPARE(states, QStringList{"running"});
        QCOMPARE(other, 75);
        QCOMPARE(ending_of(task).exit_code, 0);
        QVERIFY(QFile::symLinkTarget(fixture.results(1, "whole")).contains("attempt-1-"));
    }

    void clocks_of_nodes_do_not_matter_data()
    {
        QTest::addColumn<int>("of_holder"); // hours ahead
        QTest::addColumn<int>("of_other");
        QTest::newRow("the holder's is ahead") << 30 << 0;
        QTest::newRow("the holder's is behind") << -30 << 0;
        QTest::newRow("the other's is ahead") << 0 << 30;
        QTest::newRow("the other's is behind") << 0 << -30;
    }
    void clocks_of_nodes_do_not_matter()
    {
#ifndef FAILING_CALLS
        QSKIP("no clock can be set for one program here");
#endif
        QFETCH(int, of_holder);
        QFETCH(int, of_other);
        const case_fixture fixture(1);
        fixture.make_large(1, 1000);
        const auto run_other = [&] {
            QProcess other;
            other.setProcessEnvironment(environment_with_clock(fixture, of_other));
            fixture.start(other, {"--index", "1"});
            return ending_of(other).exit_code;
        };
        const auto hours_ahead = [&fixture](int attempt) {
            const QString name = QStringLiteral("attempt-%1-").arg(attempt) + QSysInfo::machineHostName();
            const QJsonObject state = QJsonDocument::fromJson(content_of(fixture.results(1, "state.json"))).object();
            const QDateTime started = QDateTime::fromString(state["started_utc"].toString(), Qt::ISODateWithMs);
            return state["attempt"] == name
                       ? qRound(static_cast<double>(QDateTime::currentDateTimeUtc().secsTo(started)) / 3600)
                       : 9999;
        };
        QProcess holder;
        holder.setProcessEnvironment(environment_with_clock(fixture, of_holder));
        fixture.start(holder, {"--index", "1"});
        QVERIFY(wait_for_copies(fixture));
        const int extraction = extraction_of(holder);
        QVERIFY(extraction > 0);
        ::kill(extraction, SIGSTOP);
        QCOMPARE(hours_ahead(1), of_holder);
        QTest::qSleep(1000); // twice what would make it look lost
        QCOMPARE(run_other(), 75);
        send(holder, SIGKILL);
        ::kill(extraction, SIGKILL);
        QVERIFY(wait_for_stale_lease(fixture));
        QCOMPARE(run_other(), 0);
        QCOMPARE(hours_ahead(2), of_other);
        QCOMPARE(fixture.states(), QStringList{"whole"});
    }

    void a_killed_task_leaves_partial()
    {
        const case_fixture fixture(1);
        fixture.make_large(1, 1000);
        QProcess killed;
        fixture.start(killed, {"--index", "1"});
        QVERIFY(wait_for_copies(fixture));
        QCOMPARE(fixture.states(), QStringList{"running"});
        send(killed, SIGKILL);
        killed.waitForFinished();
        QVERIFY(wait_for_stale_lease(fixture));
        QCOMPARE(fixture.run({"run"}, {"--retry", "partial"}).exit_code, 0);
        QCOMPARE(fixture.states(), QStringList{"whole"});
    }

    void a_terminated_task_says_cancelled()
    {
        const case_fixture fixture(2);
        fixture.make_large(1, 3000);
        QProcess asked;
        fixture.start(asked, {"--jobs", "1"});
        QVERIFY(wait_for_copies(fixture));
        send(asked, SIGTERM);
        QCOMPARE(ending_of(asked).exit_code, 130);
        QCOMPARE(fixture.states(), (QStringList{"cancelled", "waiting"}));
        QVERIFY(!QFile::exists(fixture.results(1, "lease")));
        QCOMPARE(fixture.run({"status"}).exit_code, 6);
        QCOMPARE(fixture.run({"run"}).exit_code, 0);
    }

    void many_tasks_make_one_result()
    {
        const case_fixture fixture(1);
        std::vector<std::unique_ptr<QProcess>> tasks;
        for (int i = 0; i < 6; ++i) {
            tasks.push_back(std::make_unique<QProcess>());
            fixture.start(*tasks.back(), {"--index", "1"});
        }
        int extracted = 0;
        for (const auto& task : tasks) {
            const program_result ended = ending_of(*task);
            QVERIFY2(ended.exit_code == 0 || ended.exit_code == 75, ended.errors.constData());
            extracted += ended.exit_code == 0 && !ended.output.contains("already done") ? 1 : 0;
        }
        QCOMPARE(extracted, 1);
        QCOMPARE(QDir(fixture.results(1)).entryList({"attempt-*"}, QDir::Dirs).size(), 1);
    }
};

QTEST_GUILESS_MAIN(tst_case_takeover)
#include "tst_case_takeover.moc"
