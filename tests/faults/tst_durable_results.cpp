#include "tests/faults/trial_ground.h"

#include <QSet>
#include <QTest>

namespace {

/// What a run has changed and the disk does not have for certain, as the calls go by.
class unsynced_changes
{
public:
    void meet(const chosen_fault& call)
    {
        if (call.kinds == "syncfs") {
            changed.clear();
        } else if (call.kinds == "sync") {
            changed.remove(call.path);
        } else if (call.kinds == "write" || call.kinds == "truncate" || call.kinds == "copy") {
            changed.insert(call.path);
        } else if (call.kinds == "rename" || call.kinds == "link" || call.kinds == "mkdir" || call.kinds == "unlink") {
            changed.insert(call.path.left(call.path.lastIndexOf('/')));
        }
    }

    QSet<QByteArray> changed; ///< files for their content, directories for their names
};

} // namespace

/// What a finished result says of itself is on the disk before it is said: the seal gets its name last.
class tst_durable_results : public QObject
{
    Q_OBJECT

private slots:
    void all_is_on_the_disk_before_the_seal()
    {
        const trial_ground ground;
        const QByteArray products = "case/mail-extract";
        unsynced_changes state;
        QSet<QByteArray> before_seal;
        qsizetype copies = 0;
        qsizetype most = 0;
        bool is_sealed = false;
        for (const chosen_fault& call : ground.calls_of(ground.run_arguments())) {
            if (!call.path.startsWith("case")) {
                continue;
            }
            copies += call.kinds == "write" && call.path.contains("/V10/") ? 1 : 0;
            if (call.kinds == "rename" && call.path == products + "/seal.txt") {
                is_sealed = true;
                before_seal = state.changed;
                state.changed.clear();
            }
            state.meet(call);
            most = qMax(most, state.changed.size());
        }
        QVERIFY(copies > 3 && most > 10);
        QVERIFY(is_sealed);
        // The seal's unfinished file has been made, and its name is what the rename is about.
        before_seal.remove(products);
        QVERIFY2(before_seal.isEmpty(), before_seal.values().join('\n'));
        QVERIFY2(!state.changed.contains(products), "the seal's name is not on the disk");
    }
};

QTEST_GUILESS_MAIN(tst_durable_results)
#include "tst_durable_results.moc"
