#include "host/self_test/refusal_trials.h"

#include "host/result/result_paths.h"
#include "host/self_test/account_judgements.h"
#include "host/self_test/copy_judgements.h"
#include "host/terminal/exit_codes.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr rlim_t largest_file = 2'000'000; // bytes: less than the volume's largest file

/// A run is refused, names what it is refused for, and neither source nor the folder beside it has changed.
void judge_refusal(const self_test_ground& ground, const QString& result, const QString& named, examination& found)
{
    const tree_state before = state_of_tree(ground.volume.root);
    const child_ending ending = run_child(ground.program, ground.run_arguments(result));
    found.expect(ending.exit_code == exit_code::could_not_run, result + QLatin1Char(' ') + ending.words());
    found.expect(ending.errors.contains(named.toUtf8()), QStringLiteral("the refusal does not name ") + named);
    found.expect(!QFileInfo::exists(result_paths(result).copies()), QStringLiteral("copies were made"));
    const tree_state after = state_of_tree(ground.volume.root);
    compare_content(before, after, found);
    compare_metadata(before, after, found);
}

/// A folder of the result leads elsewhere: nothing is written there.
void judge_planted_link(const self_test_ground& ground, const QString& name, const QString& target, examination& found)
{
    const QString result = ground.result(QStringLiteral("planted-") + QFileInfo(target).fileName());
    QDir().mkpath(result);
    make_trial_link(target, result + QLatin1Char('/') + name);
    const tree_state before = state_of_tree(target);
    judge_refusal(ground, result, name, found);
    compare_content(before, state_of_tree(target), found);
}

/// Writes beyond a size fail, as on a disk that takes no more.
void judge_full_destination(const self_test_ground& ground, examination& found)
{
    const QString result = ground.result(QStringLiteral("full"));
    const child_ending ending = run_child(ground.program, ground.run_arguments(result), [] {
        const rlimit limit{largest_file, largest_file};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        ::signal(SIGXFSZ, SIG_IGN);
    });
    found.expect(ending.exit_code == exit_code::with_failures || ending.exit_code == exit_code::could_not_run,
                 ending.words());
    found.expect(ending.errors.contains(link_target), QStringLiteral("the file that did not fit is not named"));
}

void judge_leaving_links(const self_test_ground& ground, examination& found)
{
    const QString link = ground.volume.root + QLatin1Char('/') + odd_folder() + QStringLiteral("/leaves");
    for (const QString& target : {ground.directory, QStringLiteral("../..")}) {
        make_trial_link(target, link);
        judge_refusal(ground, ground.result(QStringLiteral("leaving")), QStringLiteral("leaves"), found);
        QFile::remove(link);
    }
}

const manifest_entry* entry_of(const QList<manifest_entry>& manifest, const QByteArray& path)
{
    const auto entry =
        std::find_if(manifest.begin(), manifest.end(), [&path](const manifest_entry& one) { return one.path == path; });
    return entry == manifest.end() ? nullptr : &*entry;
}

void judge_staying_link(const tree_state& source, const QString& result, examination& found)
{
    const QList<manifest_entry> manifest = manifest_of(result);
    const manifest_entry* link = entry_of(manifest, staying_link);
    found.expect(link != nullptr && link->status == entry_status::link && link->copy_sha256 &&
                     digest_to_hex(*link->copy_sha256) == source[odd_folder().toUtf8() + '/' + link_target].content,
                 QStringLiteral("the link has no copy of its target's bytes"));
}

void judge_damaged_store(const self_test_ground& ground, const QString& whole, const QString& result,
                         const child_ending& ending, examination& found)
{
    found.expect(ending.exit_code == exit_code::with_failures, ending.words());
    found.expect(trial_content(result_paths(result).path(product::run_record)).contains(damaged_store) ||
                     ending.errors.contains(damaged_store),
                 QStringLiteral("%1 is not named").arg(QLatin1String(damaged_store)));
    const QStringList rows = shown_rows(ground.program, result);
    for (const QString& row : shown_rows(ground.program, whole)) {
        found.expect(rows.contains(row), QStringLiteral("another user lost the row ") + row.left(100));
    }
}

void judge_denied_directory(const QString& result, const child_ending& ending, examination& found)
{
    const QList<manifest_entry> manifest = manifest_of(result);
    const manifest_entry* denied = entry_of(manifest, QByteArray(denied_directory) + '/');
    found.expect(denied != nullptr && denied->status == entry_status::unreadable &&
                     denied->reason.contains(std::strerror(EACCES)),
                 QStringLiteral("the manifest does not say that it may not be read"));
    found.expect(ending.exit_code == exit_code::with_failures, ending.words());
    found.expect(ending.errors.contains(denied_directory), QStringLiteral("the run does not name it"));
}

} // namespace

void try_destinations(const self_test_ground& ground, statement_list& statements)
{
    statements.judge(QStringLiteral("no write into evidence"), [&](examination& found) {
        const QString inside = ground.volume.root + QStringLiteral("/Users/result");
        judge_refusal(ground, inside, inside, found);
    });
    statements.judge(QStringLiteral("destination unwritable"), [&](examination& found) {
        const QString file = ground.place(QStringLiteral("file"));
        write_trial_file(file, "no folder");
        judge_refusal(ground, file + QStringLiteral("/result"), file, found);
    });
    statements.judge(QStringLiteral("destination that takes no more"),
                     [&](examination& found) { judge_full_destination(ground, found); });
    statements.judge(QStringLiteral("no escape through links of the source"),
                     [&](examination& found) { judge_leaving_links(ground, found); });
    statements.judge(QStringLiteral("no escape through links planted in the result"), [&](examination& found) {
        const QString elsewhere = ground.place(QStringLiteral("elsewhere"));
        write_trial_file(elsewhere + QStringLiteral("/file"), "theirs");
        const result_paths planted(QStringLiteral("/result"));
        const auto name_of = [&planted](const QString& path) { return QFile::decodeName(planted.relative(path)); };
        judge_planted_link(ground, name_of(planted.products()), elsewhere, found);
        judge_planted_link(ground, name_of(planted.artifacts()), ground.volume.root + QStringLiteral("/Users"), found);
    });
}

void try_awkward_evidence(const self_test_ground& ground, const QString& whole, statement_list& statements)
{
    const bool permissions_bind = ::geteuid() != 0;
    make_awkward(ground.volume, permissions_bind);
    const tree_state source = state_of_tree(ground.volume.root);
    const QString result = ground.result(QStringLiteral("awkward"));
    const child_ending ending = run_child(ground.program, ground.run_arguments(result));
    statements.judge(QStringLiteral("links that stay in the source"),
                     [&](examination& found) { judge_staying_link(source, result, found); });
    statements.judge(QStringLiteral("hostile input: a damaged account store"),
                     [&](examination& found) { judge_damaged_store(ground, whole, result, ending, found); });
    const QString denied = QStringLiteral("denied directory");
    if (permissions_bind) {
        statements.judge(denied, [&](examination& found) { judge_denied_directory(result, ending, found); });
    } else {
        statements.leave_out(denied, QStringLiteral("no permission stops the superuser: run it as another user"));
    }
}
