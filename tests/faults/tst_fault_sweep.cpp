#include "tests/faults/trial_ground.h"

#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <random>

namespace {

/// The forms in which a call of a kind fails. A listing that ends early looks like any other and is not among them, nor
/// is a copy's time that cannot be set, of which the manifest tells.
QByteArrayList forms_of(const QByteArray& kind)
{
    static const QMap<QByteArray, QByteArrayList> forms{
        {"open", {"13", "5", "24"}},
        {"read", {"5", "end", "short"}},
        {"write", {"28", "5", "short"}},
        {"copy", {"5", "28", "end"}},
        {"mkdir", {"28"}},
        {"mmap", {"12"}},
        {"link", {"28", "5"}},
        {"times", {}},
    };
    return forms.value(kind, {"5"});
}

/// A path's name as a message may spell it: without what temporary files and companions have at their end.
QByteArray spoken_name(const QByteArray& path)
{
    QByteArray name = path.mid(path.lastIndexOf('/') + 1);
    for (const char* ending : {"-wal", "-shm", "-journal"}) {
        name = name.endsWith(ending) ? name.chopped(qsizetype(qstrlen(ending))) : name;
    }
    static const QRegularExpression temporary("\\.(unfinished-\\d+|(?!sqlite)[A-Za-z]{6})$");
    return QString::fromUtf8(name).remove(temporary).toUtf8();
}

/// Every way to fail every call: of calls repeated on a path the first three, the last and all of them.
QList<chosen_fault> faults_of(const QList<chosen_fault>& calls)
{
    QMap<QByteArray, int> last;
    for (const chosen_fault& call : calls) {
        last[call.kinds + '\t' + call.path] = call.number.toInt();
    }
    QList<chosen_fault> faults;
    for (const chosen_fault& call : calls) {
        const int number = call.number.toInt();
        if (number > 3 && number != last[call.kinds + '\t' + call.path]) {
            continue;
        }
        for (const QByteArray& form : forms_of(call.kinds)) {
            faults.append({call.kinds, call.path, call.number, form});
            if (number == 1) {
                faults.append({call.kinds, call.path, "1+", form});
            }
        }
    }
    return faults;
}

} // namespace

/// Fails one call at a time of a small run, and of a verification: nothing may be lost in silence, and nothing written
/// into the source.
class tst_fault_sweep : public QObject
{
    Q_OBJECT

private slots:
    void no_failing_call_is_silent_data()
    {
        QTest::addColumn<bool>("verifies");
        QTest::newRow("run") << false;
        QTest::newRow("verify") << true;
    }

    void no_failing_call_is_silent()
    {
        QFETCH(bool, verifies);
        const trial_ground ground;
        const QStringList arguments = verifies ? ground.verify_arguments() : ground.run_arguments();
        if (verifies) {
            QCOMPARE(ground.run(ground.run_arguments(), {}).exit_code, 0);
            ground.keep_result();
        }
        QList<chosen_fault> faults = faults_of(ground.calls_of(arguments));
        const result_content undisturbed = ground.content();
        std::shuffle(faults.begin(), faults.end(), std::mt19937(attack_seed()));

        complaint_list complaints;
        int met = 0;
        for (const chosen_fault& fault : faults.mid(0, attack_trials(120))) {
            verifies ? ground.restore_result() : ground.empty_result();
            const trial_ending ending = ground.run(arguments, fault);
            met += ending.met ? 1 : 0;
            complaints += ground.complaints(fault.text(), ending, undisturbed);
            if (ending.exit_code > 0 && ending.met && !ending.said.contains(spoken_name(ending.met_path))) {
                complaints += fault.text() + ": ended without a word of the path";
            }
        }
        qInfo("%d calls failed, of %d ways to", met, int(faults.size()));
        QVERIFY(met > 0);
        QCOMPARE(complaints.count, 0);
    }
};

QTEST_GUILESS_MAIN(tst_fault_sweep)
#include "tst_fault_sweep.moc"
