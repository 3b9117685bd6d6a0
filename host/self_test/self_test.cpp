#include "host/self_test/self_test.h"

#include "host/self_test/account_judgements.h"
#include "host/self_test/copy_judgements.h"
#include "host/self_test/damage_trials.h"
#include "host/self_test/interruption_trials.h"
#include "host/self_test/refusal_trials.h"
#include "host/terminal/exit_codes.h"

#include <QElapsedTimer>

namespace {

using row_judgement = void (*)(const self_test_ground&, const QString&, examination&);

void judge_copied_files(const self_test_ground& ground, const QString& result, statement_list& statements)
{
    const tree_state source = state_of_tree(ground.volume.root);
    const auto judge = [&](const char* text,
                           const std::function<void(const QList<manifest_entry>&, examination&)>& of) {
        statements.judge(QLatin1String(text), [&](examination& found) { of(manifest_of(result), found); });
    };
    judge("complete", [&](const auto& manifest, auto& found) { judge_completeness(source, manifest, found); });
    judge("exact", [&](const auto& manifest, auto& found) { judge_copies(source, result, manifest, found); });
    judge("hidden, empty, long and odd names", [&](const auto& manifest, auto& found) {
        judge_odd_files(ground.volume.odd_files, source, result, manifest, found);
    });
    judge("metadata kept", [&](const auto& manifest, auto& found) { judge_metadata(source, manifest, found); });
    judge("times", [&](const auto& manifest, auto& found) { judge_times(source, result, manifest, found); });
}

void judge_accounts(const self_test_ground& ground, const QString& result, statement_list& statements)
{
    const std::pair<const char*, row_judgement> judgements[] = {{"write-ahead log honoured", judge_log_honoured},
                                                                {"association of users and volumes", judge_association},
                                                                {"no invented account", judge_no_invented_account},
                                                                {"raw beside interpreted values", judge_raw_values},
                                                                {"log agrees with the counts", judge_counts}};
    for (const auto& one : judgements) {
        statements.judge(QLatin1String(one.first), [&](examination& found) { one.second(ground, result, found); });
    }
}

/// A second run, in another time zone, tells the same.
void judge_repetition(const self_test_ground& ground, const QString& first, examination& found)
{
    const QString second = ground.result(QStringLiteral("second"));
    const child_ending ending =
        run_child(ground.program, ground.run_arguments(second), {}, QStringLiteral("Asia/Kolkata"));
    found.expect(ending.exit_code == exit_code::whole, ending.words());
    judge_same(manifest_of(first), manifest_of(second), found);
    found.expect(shown_rows(ground.program, first) == shown_rows(ground.program, second),
                 QStringLiteral("the second run has other rows"));
}

void leave_out_the_rest(statement_list& statements)
{
    const std::pair<const char*, const char*> untried[] = {
        {"runs on read-only media", "mounting is not this program's to do"},
        {"read error with path, errno and offset", "it takes a medium that fails"},
        {"changed during read", "whether a change meets the reading is chance"},
        {"rollback journal honoured", "the volume has none"},
        {"documentation correct", "it takes a reader"}};
    for (const auto& [text, reason] : untried) {
        statements.leave_out(QLatin1String(text), QLatin1String(reason));
    }
}

/// Everything on the volume as it was written; the result of the first run stays for the trials that follow.
void try_sound_evidence(const self_test_ground& ground, const QString& result, statement_list& statements)
{
    const tree_state before = state_of_tree(ground.volume.root);
    QElapsedTimer clock;
    clock.start();
    const child_ending ending = run_child(ground.program, ground.run_arguments(result));
    const qint64 whole_run = clock.elapsed();
    statements.judge(QStringLiteral("a sound volume is taken whole"),
                     [&](examination& found) { found.expect(ending.exit_code == exit_code::whole, ending.words()); });
    judge_copied_files(ground, result, statements);
    judge_accounts(ground, result, statements);
    statements.judge(QStringLiteral("repeatable, in another time zone as well"),
                     [&](examination& found) { judge_repetition(ground, result, found); });
    statements.judge(QStringLiteral("interrupted and gone on with"),
                     [&](examination& found) { judge_killed_runs(ground, result, whole_run, found); });
    statements.judge(QStringLiteral("a verification changes nothing"),
                     [&](examination& found) { judge_quiet_verification(ground, result, found); });
    const tree_state after = state_of_tree(ground.volume.root);
    statements.judge(QStringLiteral("source content unchanged"),
                     [&](examination& found) { compare_content(before, after, found); });
    statements.judge(QStringLiteral("source metadata and name lists unchanged (access times aside)"),
                     [&](examination& found) { compare_metadata(before, after, found); });
}

} // namespace

statement_list self_test(const QString& program, const QString& directory)
{
    self_test_ground ground{program, directory, {}};
    ground.volume = write_trial_volume(ground.place(QStringLiteral("source")));
    const QString result = ground.result(QStringLiteral("first"));
    statement_list statements;
    try_sound_evidence(ground, result, statements);
    try_damages(ground, result, statements);
    try_destinations(ground, statements);
    try_awkward_evidence(ground, result, statements);
    leave_out_the_rest(statements);
    return statements;
}
