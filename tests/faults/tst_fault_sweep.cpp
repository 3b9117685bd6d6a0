#include "tests/common/files.h"
#include "tests/faults/trial_ground.h"

#include <QCryptographicHash>
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

/// A path's name as a message may spell it: without what temporary files and companions have at their end. A file that
/// has no name yet is spoken of by its folder, the place for temporary files by the database that is copied there.
QByteArray spoken_name(const QByteArray& path)
{
    if (path.startsWith("scratch")) {
        return "sqlite";
    }
    static const QRegularExpression unnamed("/#\\d+( \\(deleted\\))?$");
    const QByteArray named = QString::fromUtf8(path).remove(unnamed).toUtf8();
    QByteArray name = named.mid(named.lastIndexOf('/') + 1);
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

/// True for a call that decides whether an account has its row, and with the right number.
bool decides_on_a_row(const chosen_fault& fault)
{
    static const QRegularExpression places(
        "^source/Users/(anna/Library/Accounts/Accounts4.sqlite(-wal)?|ben/Library/Mail/V9(/[^/]+)?)$");
    return fault.form == "5" && !fault.number.endsWith('+') && places.match(QString::fromUtf8(fault.path)).hasMatch();
}

/// What a result is before a command is tried on it.
enum class before
{
    nothing,
    half_a_run,
    whole_run,
    run_with_enciphered_log
};

} // namespace

Q_DECLARE_METATYPE(before)

/// Fails one call at a time of each command on a small source: nothing may be lost in silence, and nothing written into
/// the source.
class tst_fault_sweep : public QObject
{
    Q_OBJECT

private slots:
    void no_failing_call_is_silent_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<before>("state");
        QTest::newRow("run") << "run --quiet --source S --result R" << before::nothing;
        QTest::newRow("run on one by one")
            << "run --quiet --one-by-one --append --source S --result R" << before::half_a_run;
        QTest::newRow("run as a suite") << "run --quiet --as-suite --source S --result R" << before::nothing;
        QTest::newRow("run without verification") << "run --quiet --no-verify --source S --result R" << before::nothing;
        QTest::newRow("run that reads twice") << "run --quiet --read-twice --source S --result R" << before::nothing;
        QTest::newRow("run on a cleared result") << "run --quiet --clear --source S --result R" << before::whole_run;
        QTest::newRow("verify") << "verify --source S --result R" << before::whole_run;
        QTest::newRow("verify against what is recorded") << "verify --result R" << before::whole_run;
        QTest::newRow("verify against an expected hash") << "verify --result R --expect H" << before::whole_run;
        QTest::newRow("decipher") << "decipher R/mail-extract/log.txt" << before::run_with_enciphered_log;
        QTest::newRow("report") << "report --result R" << before::whole_run;
        QTest::newRow("show") << "show --result R" << before::whole_run;
        QTest::newRow("accounts") << "accounts --result R" << before::whole_run;
        QTest::newRow("completeness") << "completeness --result R" << before::whole_run;
        QTest::newRow("survey") << "survey --source S" << before::nothing;
    }

    void no_failing_call_is_silent()
    {
        QFETCH(QString, command);
        QFETCH(before, state);
        const trial_ground ground;
        QStringList arguments = command.split(' ');
        arguments.replaceInStrings(QRegularExpression("^S$"), ground.source.root());
        arguments.replaceInStrings(QRegularExpression("^R(?=/|$)"), ground.result());
        make(state, ground);
        arguments.replaceInStrings(QRegularExpression("^H$"), root_hash(ground));
        trial_ending whole;
        QList<chosen_fault> faults = faults_of(ground.calls_of(arguments, &whole));
        const result_content undisturbed = ground.content();
        const QByteArray report = content_of(ground.result() + "/mail-extract/report.html");
        faults.removeIf([](const chosen_fault& fault) {
            static const QRegularExpression only(qEnvironmentVariable("FAULTS_ONLY"));
            return !only.match(fault.text()).hasMatch();
        });
        std::shuffle(faults.begin(), faults.end(), std::mt19937(attack_seed()));
        const auto drawn = std::stable_partition(faults.begin(), faults.end(), decides_on_a_row);
        const qsizetype trials = attack_trials(10);
        const bool is_new_run = arguments[0] == "run" && state == before::nothing;
        const qsizetype decisive = is_new_run ? std::min<qsizetype>(2 * trials, drawn - faults.begin()) : 0;
        const QList<chosen_fault> tried = faults.mid(0, decisive) + faults.mid(drawn - faults.begin(), trials);

        complaint_list complaints;
        int met = 0;
        for (const chosen_fault& fault : tried) {
            state == before::nothing ? ground.empty_result() : ground.restore_result();
            const trial_ending ending = ground.run(arguments, fault);
            met += ending.met ? 1 : 0;
            complaints += ground.complaints(fault.text(), ending, undisturbed);
            // A run says all that it has to say in its record.
            const bool runs = arguments[0] == "run";
            const QByteArray said = runs ? ending.said : ending.errors + ending.output;
            if (ending.exit_code > 0 && ending.met && !said.contains(spoken_name(ending.met_path))) {
                complaints += fault.text() + ": ended without a word of the path";
            }
            if (!runs && ending.exit_code == 0 && ending.output != whole.output && arguments[0] != "verify") {
                complaints += fault.text() + ": ended with 0 and another output";
            }
            if (arguments[0] == "report" && ending.exit_code == 0 &&
                content_of(ground.result() + "/mail-extract/report.html") != report) {
                complaints += fault.text() + ": ended with 0 and another report";
            }
        }
        qInfo("%d calls failed, of %d ways to", met, int(faults.size()));
        QVERIFY(met > 0);
        QCOMPARE(complaints.count, 0);
    }

    void no_failing_call_lets_a_result_into_the_source()
    {
        const trial_ground ground;
        QDir().mkpath(ground.result());
        QVERIFY(QFile::link(ground.source.root() + "Users", ground.result() + "/in"));
        const QStringList arguments{"run", "--source", ground.source.root(), "--result",
                                    ground.result() + "/in/result"};
        constexpr int could_not_run = 1;
        for (const chosen_fault& fault : faults_of(ground.calls_of(arguments, nullptr, could_not_run))) {
            const trial_ending ending = ground.run(arguments, fault);
            QVERIFY2(ending.exit_code == could_not_run && ground.source_state() == ground.source_before,
                     qUtf8Printable(fault.text()));
        }
    }

private:
    static QString root_hash(const trial_ground& ground)
    {
        const QByteArray seal = content_of(ground.result() + "/mail-extract/seal.txt");
        return QCryptographicHash::hash(seal, QCryptographicHash::Sha256).toHex();
    }

    static void make(before state, const trial_ground& ground)
    {
        if (state == before::nothing) {
            return;
        }
        const QByteArray killed_at = "case/Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor_ben_*";
        const bool is_killed = state == before::half_a_run;
        const trial_ending run =
            ground.run(ground.run_arguments(state == before::run_with_enciphered_log ? QStringList("--log-encrypted")
                                                                                     : QStringList()),
                       is_killed ? chosen_fault{"mkdir", killed_at, "1", "signal:9"} : chosen_fault());
        QCOMPARE(run.exit_code, is_killed ? -1 : 0);
        ground.keep_result();
    }
};

QTEST_GUILESS_MAIN(tst_fault_sweep)
#include "tst_fault_sweep.moc"
