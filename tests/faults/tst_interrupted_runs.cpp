#include "tests/faults/trial_ground.h"

#include <QTest>

#include <random>

/// Ends or cancels runs at any of their calls, and fills the disk there: what comes after must be as if nothing had
/// been.
class tst_interrupted_runs : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        calls = ground.calls_of(ground.run_arguments());
        undisturbed = ground.content();
        ground.keep_result();
    }

    void init() { complaints = {}; }

    void a_killed_run_is_finished_by_appending()
    {
        for (int trial = 0; trial < attack_trials(8); ++trial) {
            ground.empty_result();
            const chosen_fault killed = drawn("signal:9");
            ground.run(ground.run_arguments(), killed);
            trial_ending ending = ground.run(ground.run_arguments({"--append"}), {});
            if (ending.said.contains("it holds a finished run")) {
                // Killed after its seal, it is as whole as any; the report can be made at any time.
                ending = ground.run({"report", "--result", ground.result()}, {});
            }
            note(killed, ending, 0);
        }
        QCOMPARE(complaints.count, 0);
    }

    void a_signal_cancels_whenever_it_comes()
    {
        for (int trial = 0; trial < attack_trials(8); ++trial) {
            ground.empty_result();
            const chosen_fault cancelled =
                drawn(std::array{"signal:1", "signal:2", "signal:15"}[static_cast<std::size_t>(trial % 3)]);
            const trial_ending ending = ground.run(ground.run_arguments(), cancelled);
            // At its end a run may be whole before it looks.
            note(cancelled, ending, ending.exit_code == 0 ? 0 : 130);
        }
        QCOMPARE(complaints.count, 0);
    }

    // Rows may name the folder of a day that has none; the program finds those, or they are none.
    void a_run_across_midnight_is_whole_or_says_so()
    {
        for (int trial = 0; trial < attack_trials(8); ++trial) {
            ground.empty_result();
            const chosen_fault passed = drawn("clock:86400");
            const trial_ending ending = ground.run(ground.run_arguments(), passed);
            QStringList lost;
            for (const QString& row : ground.content().rows) {
                const QString folder = row.mid(row.indexOf("/Artifacts_Result")).section('|', 0, 0);
                lost += QDir(ground.result() + folder).exists() ? QStringList() : QStringList(folder);
            }
            if (ending.exit_code < 0 || (ending.exit_code == 0 && !lost.isEmpty())) {
                complaints += passed.text() + QString(": ended with %1 and rows of no folder: ").arg(ending.exit_code) +
                              lost.join(' ');
            }
        }
        QCOMPARE(complaints.count, 0);
    }

    // The second time it is appended to a whole result, whose record must not be destroyed.
    void a_disk_that_fills_is_said_data()
    {
        QTest::addColumn<bool>("appends");
        QTest::newRow("new result") << false;
        QTest::newRow("appended to") << true;
    }

    void a_disk_that_fills_is_said()
    {
        QFETCH(bool, appends);
        const QByteArray kinds = "write copy mkdir link truncate sync";
        const qsizetype writing = std::count_if(calls.begin(), calls.end(), [&](const chosen_fault& call) {
            return call.path.startsWith("case/") && kinds.split(' ').contains(call.kinds);
        });
        const QStringList arguments = ground.run_arguments(appends ? QStringList{"--append"} : QStringList());
        ground.restore_result();
        ground.run(arguments, {});
        const result_content expected = appends ? ground.content() : undisturbed;
        for (int trial = 0; trial < attack_trials(12); ++trial) {
            appends ? ground.restore_result() : ground.empty_result();
            const auto first = QByteArray::number(1 + qsizetype(random() % quint32(writing)));
            const chosen_fault full{kinds, "case/*", first + '+', "28"};
            const trial_ending ending = ground.run(arguments, full);
            complaints += ground.complaints(full.text(), ending, expected);
            if (ending.met && (ending.exit_code == 0 || !says_that_disk_is_full(ending))) {
                complaints += full.text() + QString(": ended with %1 without the reason").arg(ending.exit_code);
            }
        }
        QCOMPARE(complaints.count, 0);
    }

private:
    chosen_fault drawn(const char* form)
    {
        chosen_fault fault = calls[qsizetype(random() % quint32(calls.size()))];
        fault.form = form;
        return fault;
    }

    void note(const chosen_fault& fault, const trial_ending& ending, int expected)
    {
        complaints += ground.complaints(fault.text(), ending, undisturbed);
        if (ending.exit_code != expected) {
            complaints += fault.text() + QString(": ended with %1").arg(ending.exit_code);
        }
    }

    const trial_ground ground;
    QList<chosen_fault> calls;
    result_content undisturbed;
    complaint_list complaints;
    std::mt19937 random{attack_seed()};
};

QTEST_GUILESS_MAIN(tst_interrupted_runs)
#include "tst_interrupted_runs.moc"
