#include "host/case_tasks/run_case_command.h"

#include "host/case_tasks/child_process.h"
#include "host/case_tasks/task_pool.h"
#include "host/cases/case_overview.h"
#include "host/terminal/command_failure.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/terminal/interruption.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <QHash>

#include <algorithm>
#include <limits>

namespace {

/// What a scheduler calls the index of a task, and what it counts from.
struct index_variable
{
    const char* name;
    int before_first; ///< to be added to reach an index that begins with 1
};
constexpr index_variable index_variables[] = {
    {"SLURM_ARRAY_TASK_ID", 0}, {"SGE_TASK_ID", 0}, {"PARALLEL_SEQ", 0}, {"JOB_COMPLETION_INDEX", 1}};

// What Grid Engine says to a job that is none of many.
constexpr const char* no_index = "undefined";

/// Returns 0 where no scheduler gives an index. What is none is refused: it would be taken for a wish to run all.
int index_from_scheduler()
{
    for (const index_variable& variable : index_variables) {
        const QString text = qEnvironmentVariable(variable.name);
        if (text.isEmpty() || text == QLatin1String(no_index)) {
            continue;
        }
        bool is_number = false;
        const qint64 index = qint64{text.toInt(&is_number)} + variable.before_first;
        if (!is_number || index < 1 || index > std::numeric_limits<int>::max()) {
            throw command_failure(exit_code::usage, QStringLiteral("%1 is \"%2\", which is no index of a source")
                                                        .arg(QLatin1String(variable.name), display_text(text)));
        }
        return static_cast<int>(index);
    }
    return 0;
}

task_settings settings_for(const run_case_options& options)
{
    const case_paths paths(options.directory);
    task_settings settings{paths, read_case(paths), read_mappings(options.mappings)};
    if (options.beat_seconds > 0) {
        settings.data.lease.beat_ms = static_cast<int>(options.beat_seconds * 1000);
    }
    if (options.missed_beats > 0) {
        settings.data.lease.missed_beats = options.missed_beats;
    }
    settings.retry = options.retry == QLatin1String("failed")    ? retry_kind::failed
                     : options.retry == QLatin1String("partial") ? retry_kind::partial
                                                                 : retry_kind::none;
    settings.follow_links_outside = options.follow_links_outside;
    return settings;
}

case_source source_with_index(const case_sources& sources, int index, const case_paths& paths)
{
    const auto found = std::find_if(sources.sources.begin(), sources.sources.end(),
                                    [index](const case_source& source) { return source.index == index; });
    if (found == sources.sources.end()) {
        refuse(QStringLiteral("%1 has no source with index %2").arg(paths.sources_file()).arg(index));
    }
    if (found->is_withdrawn) {
        refuse(
            QStringLiteral("source %1 is withdrawn: %2 has no such row").arg(label_of(*found), paths.sources_file()));
    }
    return *found;
}

int run_one(const task_settings& settings, int index, bool quiet)
{
    const case_source source = source_with_index(load_case_sources(settings.paths), index, settings.paths);
    task_outcome outcome;
    {
        case_progress shown(1, quiet ? progress_style::silent : progress_style_for(quiet));
        outcome = run_tasks({source}, settings, 1, shown).first();
    }
    const QString line = label_of(source) + QStringLiteral(": ") + outcome_text(outcome);
    if (outcome.was_done || has_result(outcome.record.state)) {
        print_line(line);
    } else {
        complain(line);
    }
    return interruption::requested() ? exit_code::cancelled : outcome.exit_code;
}

QList<case_source> due_sources(const case_overview& overview, retry_kind retry)
{
    QList<case_source> due;
    QList<case_source> held;
    for (const overview_entry& entry : overview.entries) {
        if (is_due(entry.status.state, retry)) {
            (entry.status.state == source_state::running ? held : due).append(entry.source);
        }
    }
    // By the time these come, their tasks may have ended, or their leases may have run out.
    return due + held;
}

/// Says what was not run, as far as nothing has told it: not everything is written down in the case, since it may be
/// what could not be written.
void complain_about_missing(const QList<case_source>& due, const QList<task_outcome>& outcomes,
                            const case_overview& overview, bool is_told)
{
    QHash<int, source_state> endings;
    for (qsizetype at = 0; at < due.size(); ++at) {
        const source_state state = outcomes[at].record.state;
        endings.insert(due[at].index, state);
        const bool is_missing =
            state == source_state::failed || state == source_state::partial || state == source_state::running;
        if (is_missing && !is_told) {
            complain(label_of(due[at]) + QStringLiteral(": ") + outcome_text(outcomes[at]));
        }
    }
    // What was whole before, or has become so, may be damaged all the same.
    for (const auto& [source, status] : overview.entries) {
        if (status.is_damaged && endings.value(source.index, source_state::whole) != source_state::failed) {
            complain(QStringLiteral("%1: %2: %3").arg(label_of(source), name_of(status.state), status.reason));
        }
    }
}

int run_all(const task_settings& settings, int jobs, bool quiet)
{
    case_overview overview = look_at_case(settings.paths);
    complain_about_not_added(settings.paths, overview.not_added);
    const QList<case_source> due = due_sources(overview, settings.retry);
    QList<task_outcome> outcomes;
    {
        case_progress shown(due.size(), progress_style_for(quiet));
        outcomes = run_tasks(due, settings, jobs, shown);
    }
    overview = look_at_case(settings.paths);
    complain_about_missing(due, outcomes, overview, !quiet);
    print_line(QStringLiteral("%1: %2").arg(settings.paths.root(), counts_text(overview)));
    return interruption::requested() ? exit_code::cancelled : exit_code_of(overview);
}

} // namespace

int run_case_command(const run_case_options& options)
{
    interruption::watch();
    const task_settings settings = settings_for(options);
    share_with_group_of(settings.paths.root());
    const int index = options.index > 0 || options.jobs > 0 ? options.index : index_from_scheduler();
    return index > 0 ? run_one(settings, index, options.quiet)
                     : run_all(settings, std::max(options.jobs, 1), options.quiet);
}
