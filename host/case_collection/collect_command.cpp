#include "host/case_collection/collect_command.h"

#include "host/case_collection/collected_csv.h"
#include "host/case_collection/collected_report.h"
#include "host/case_collection/copies_ahead.h"
#include "host/cases/lease_beats.h"
#include "host/cases/shared_files.h"
#include "host/files/durable_file.h"
#include "host/files/file_tree.h"
#include "host/result/source_guard.h"
#include "host/terminal/command_failure.h"
#include "host/terminal/console.h"
#include "host/terminal/interruption.h"
#include "host/terminal/progress.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <filesystem>
#include <map>
#include <system_error>

namespace {

void stop_if_interrupted()
{
    if (interruption::requested()) {
        throw command_failure(exit_code::cancelled, QStringLiteral("cancelled; nothing was collected"));
    }
}

/// Two collections must not put theirs into the same place.
void stop_if_lost(const lease_beats& beats)
{
    if (beats.is_lost()) {
        throw command_failure(exit_code::held_elsewhere,
                              QStringLiteral("another process has taken this case over; nothing was collected"));
    }
}

/// Says when the results are not all from the same program and library.
QStringList version_warnings(const case_overview& overview)
{
    std::map<QString, QStringList> sources;
    for (const auto& [source, status] : overview.entries) {
        if (has_result(status.state)) {
            const attempt_record& record = status.attempt;
            sources[QStringLiteral("program %1 with library %2 (SHA-256 %3)")
                        .arg(record.program_version, record.plugin_version, record.plugin_sha256)]
                .append(source.number());
        }
    }
    QStringList warnings;
    if (sources.size() > 1) {
        warnings.append(QStringLiteral("the results were made by %1 different builds").arg(sources.size()));
        for (const auto& [build, numbers] : sources) {
            warnings.append(QStringLiteral("%1: %2 sources, %3 the first of them")
                                .arg(build)
                                .arg(numbers.size())
                                .arg(numbers.first()));
        }
    }
    return warnings;
}

/// Where SQLite may work: the scheduler's scratch of this node, else the usual place for temporary files.
QString scratch_pattern()
{
    const QString of_job = qEnvironmentVariable("SLURM_TMPDIR");
    return (of_job.isEmpty() ? QDir::tempPath() : of_job) + QStringLiteral("/mail-extract-collect-XXXXXX");
}

void remove_leftover(const QString& path)
{
    std::error_code error;
    std::filesystem::remove_all(QFile::encodeName(path).toStdString(), error);
    if (error) {
        refuse(QStringLiteral("cannot remove %1: %2").arg(path, QString::fromLocal8Bit(error.message().c_str())));
    }
}

/// Copies every file of a folder into a new one, and puts them on the disk.
void copy_files(const QString& from, const QString& to)
{
    make_folder(to);
    const directory_listing files = quiet_list(QFile::encodeName(from));
    if (!files.error.isEmpty()) {
        refuse(QStringLiteral("cannot read %1: %2").arg(from, files.error));
    }
    for (const named_entry& file : files.entries) {
        const QByteArray target = child_path(QFile::encodeName(to), file.name);
        std::error_code error;
        std::filesystem::copy_file(child_path(QFile::encodeName(from), file.name).toStdString(), target.toStdString(),
                                   error);
        if (error) {
            refuse(QStringLiteral("cannot write %1: %2")
                       .arg(QFile::decodeName(target), QString::fromLocal8Bit(error.message().c_str())));
        }
    }
    flush_file_system(to);
}

/// Returns why not; empty when the folder has its new name.
QString rename_folder(const QString& from, const QString& to)
{
    const claim_result renamed = rename_replacing(from, to);
    return renamed.outcome == claim::made ? QString() : renamed.error;
}

/// Copies what was made to the case and puts it into the place of an earlier collection, which stays when that fails.
void move_into_case(const QString& made, const case_paths& paths)
{
    const QString fresh = paths.in_case("collected.new");
    const QString earlier = paths.in_case("collected.old");
    remove_leftover(fresh);
    remove_leftover(earlier);
    try {
        copy_files(made, fresh);
    } catch (const failure&) {
        // On a full disk it would keep the room that others need.
        QDir(fresh).removeRecursively();
        throw;
    }
    const bool had_one = quiet_stat(QFile::encodeName(paths.collected())).kind != entry_kind::absent;
    QString error = had_one ? rename_folder(paths.collected(), earlier) : QString();
    if (error.isEmpty()) {
        error = rename_folder(fresh, paths.collected());
        if (had_one && !error.isEmpty()) {
            rename_folder(earlier, paths.collected());
        }
    }
    if (!error.isEmpty()) {
        refuse(QStringLiteral("cannot put %1 into the place of %2: %3").arg(fresh, paths.collected(), error));
    }
    QDir(earlier).removeRecursively();
    if (const int unwritten = flush_directory(QFile::encodeName(paths.root())); unwritten != 0) {
        refuse(QStringLiteral("cannot put %1 on the disk: %2").arg(paths.collected(), system_error_text(unwritten)));
    }
}

/// Takes the rows of every result that fits what was written down of it; returns what kept others out.
QHash<int, QString> add_results(collected_database& database, const case_overview& overview, const QString& scratch,
                                const lease_beats& beats, bool quiet)
{
    QHash<int, QString> problems;
    progress shown(QStringLiteral("collecting"), {overview.entries.size(), overview.bytes}, progress_style_for(quiet));
    file_amount done;
    copies_ahead copies(overview, scratch);
    for (const overview_entry& entry : overview.entries) {
        stop_if_interrupted();
        stop_if_lost(beats);
        if (has_result(entry.status.state)) {
            if (const QString problem = database.add_result(*copies.next()); !problem.isEmpty()) {
                problems.insert(entry.source.index, problem);
            }
            add_count(done.bytes, entry.status.attempt.bytes);
        }
        ++done.files;
        shown.update(done);
    }
    return problems;
}

/// Names on standard error what is not in the collection, or is there with failures.
void complain_about(const case_overview& overview, const QHash<int, QString>& problems)
{
    for (const auto& [source, status] : overview.entries) {
        if (problems.contains(source.index)) {
            complain(QStringLiteral("%1: not collected: %2").arg(label_of(source), problems.value(source.index)));
        } else if (facts_of(status.state).kind != state_kind::done) {
            complain(QStringLiteral("%1: %2%3")
                         .arg(label_of(source), name_of(status.state),
                              status.reason.isEmpty() ? QString() : QStringLiteral(": ") + status.reason));
        }
    }
}

/// Says of which sources rows name folders that are not theirs; false when copies are nowhere.
bool complain_about_misplaced(const case_overview& overview, const QHash<int, misplaced_rows>& misplaced)
{
    bool is_whole = true;
    for (const overview_entry& entry : overview.entries) {
        const auto found = misplaced.constFind(entry.source.index);
        if (found != misplaced.constEnd()) {
            complain(QStringLiteral("%1: %2").arg(label_of(entry.source), found->text()));
            is_whole = is_whole && found->lost == 0;
        }
    }
    return is_whole;
}

} // namespace

int collect_command(const collect_options& options)
{
    interruption::watch();
    const case_paths paths(options.directory);
    const case_settings data = read_case(paths);
    const case_overview overview = look_at_case(paths);
    const int standing = exit_code_of(overview);
    if (standing == exit_code::not_finished && !options.partial) {
        complain_about_not_added(paths, overview.not_added);
        complain_about(overview, {});
        throw command_failure(standing, QStringLiteral("%1 is not finished (%2); --partial collects what there is")
                                            .arg(paths.root(), counts_text(overview)));
    }
    lease_view holder;
    auto held = lease::take(paths.root(), data.lease, 1, holder);
    if (!held) {
        throw command_failure(exit_code::held_elsewhere,
                              QStringLiteral("%1: %2 is changing this case").arg(paths.root(), holder_text(holder)));
    }
    const lease_beats beats(*held);
    QTemporaryDir scratch(scratch_pattern());
    if (!scratch.isValid()) {
        refuse(QStringLiteral("cannot create a folder like %1: %2").arg(scratch_pattern(), scratch.errorString()));
    }
    const QString made = scratch.filePath(QStringLiteral("collected"));
    make_folder(made);
    QHash<int, QString> problems;
    QHash<int, misplaced_rows> misplaced;
    const QStringList warnings = version_warnings(overview);
    {
        collected_database database(made);
        problems = add_results(database, overview, made, beats, options.quiet);
        misplaced = database.misplaced();
        database.finish(overview, problems);
        write_collected_csv(database, made);
        write_collected_report({paths, data, overview, problems, warnings}, database, made);
    }
    stop_if_interrupted();
    stop_if_lost(beats);
    move_into_case(made, paths);
    for (const QString& warning : warnings) {
        complain(warning);
    }
    complain_about(overview, problems);
    const bool is_whole = complain_about_misplaced(overview, misplaced) && problems.isEmpty();
    print_line(paths.collected() + QLatin1Char('/') + case_paths::collected_report_name());
    return standing == exit_code::whole && !is_whole ? exit_code::with_failures : standing;
}
