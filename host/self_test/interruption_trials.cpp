#include "host/self_test/interruption_trials.h"

#include "host/result/result_paths.h"
#include "host/self_test/account_judgements.h"
#include "host/self_test/copy_judgements.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QRandomGenerator>

namespace {

constexpr int trials = 4;

/// Whether a run came to its end before it was killed: then there is nothing to go on with.
bool is_finished(const QString& result)
{
    const QString record = result_paths(result).path(product::run_record);
    return QFileInfo::exists(record) &&
           QJsonDocument::fromJson(trial_content(record))[QLatin1String("status")].toString() ==
               QLatin1String("finished");
}

/// Returns whether the run was killed before its end.
bool kill_a_run(const self_test_ground& ground, const QString& result, qint64 after)
{
    QProcess process;
    start_child(process, ground.program, ground.run_arguments(result));
    process.waitForFinished(static_cast<int>(after));
    process.kill();
    process.waitForFinished();
    return process.exitStatus() == QProcess::CrashExit && !is_finished(result);
}

} // namespace

void judge_killed_runs(const self_test_ground& ground, const QString& whole, qint64 whole_run, examination& found)
{
    const QList<manifest_entry> expected = manifest_of(whole);
    const QStringList expected_rows = shown_rows(ground.program, whole);
    const tree_state source = state_of_tree(ground.volume.root);
    int met_at_work = 0;
    for (int trial = 0; trial < trials; ++trial) {
        const QString result = ground.result(QStringLiteral("killed-%1").arg(trial));
        const qint64 part = whole_run / trials;
        const qint64 after = trial * part + QRandomGenerator::global()->bounded(part + 1);
        if (!kill_a_run(ground, result, after)) {
            continue;
        }
        ++met_at_work;
        const child_ending ending =
            run_child(ground.program, ground.run_arguments(result, {QStringLiteral("--append")}));
        found.expect(ending.exit_code == 0,
                     QStringLiteral("killed after %1 ms, going on %2").arg(after).arg(ending.words()));
        if (ending.exit_code == 0) {
            const QList<manifest_entry> manifest = manifest_of(result);
            judge_same(expected, manifest, found);
            judge_copies(source, result, manifest, found);
            found.expect(shown_rows(ground.program, result) == expected_rows,
                         QStringLiteral("killed after %1 ms, other rows").arg(after));
        }
    }
    found.expect(met_at_work > 0, QStringLiteral("every run ended before it was killed"));
}
