#include "host/case_command.h"

#include "host/case_collection/collect_command.h"
#include "host/case_tasks/add_sources_command.h"
#include "host/case_tasks/new_case_command.h"
#include "host/case_tasks/run_case_command.h"
#include "host/case_tasks/status_command.h"
#include "host/case_tasks/submit_command.h"
#include "host/case_tasks/verify_case_command.h"

#include <QFile>

#include <algorithm>
#include <limits>
#include <memory>

namespace {

using chooser = std::function<void(std::function<int()>)>;

CLI::Option* add_text(CLI::App& command, const std::string& name, QString& target, const std::string& help,
                      const std::string& kind = "TEXT")
{
    const auto store = [&target](const std::string& value) { target = QFile::decodeName(value.c_str()); };
    return command.add_option_function<std::string>(name, store, help)->type_name(kind);
}

void add_texts(CLI::App& command, const std::string& name, QStringList& target, const std::string& help,
               const std::string& kind)
{
    const auto store = [&target](const std::vector<std::string>& values) {
        for (const std::string& value : values) {
            target.append(QFile::decodeName(value.c_str()));
        }
    };
    CLI::Option* option = command.add_option_function<std::vector<std::string>>(name, store, help)->type_name(kind);
    if (name.front() == '-') {
        option->expected(1)->take_all()->allow_extra_args(false);
    }
}

/// Adds a command with options of its own, which live as long as the program, and the case directory as first argument.
template <typename options_type>
CLI::App& add_command(CLI::App& group, const chooser& choose, const std::string& name, const std::string& help,
                      int (*command)(const options_type&), std::shared_ptr<options_type>& options)
{
    options = std::make_shared<options_type>();
    CLI::App* subcommand = group.add_subcommand(name, help);
    add_text(*subcommand, "CASE", options->directory, "Directory of the case", "")->required();
    subcommand->callback([choose, command, options] { choose([command, options] { return command(*options); }); });
    return *subcommand;
}

template <typename options_type>
void add_lease_options(CLI::App& command, options_type& options)
{
    command
        .add_option("--lease-beat", options.beat_seconds,
                    "Seconds between a task's signs of life (default: that of the case, else 15)")
        ->check(CLI::Range(0.05, 3600.0))
        ->type_name("SECONDS");
    command
        .add_option("--lease-missed", options.missed_beats,
                    "Missed signs after which another task may take over (default: that of the case, else 4)")
        ->check(CLI::Range(2, 1000))
        ->type_name("N");
}

void add_new(CLI::App& group, const chooser& choose)
{
    std::shared_ptr<new_case_options> options;
    CLI::App& command = add_command(group, choose, "new", "Make a case", new_case_command, options);
    for (const case_field& field : case_fields) {
        // Each source has its own.
        if (field.value != &case_data::evidence_number && field.value != &case_data::image_sha256) {
            std::string name = field.name;
            std::replace(name.begin(), name.end(), '_', '-');
            add_text(command, "--" + name, options->about.*field.value, field.title);
        }
    }
    add_lease_options(command, *options);
}

void add_mappings(CLI::App& command, QStringList& mappings)
{
    add_texts(command, "--map", mappings,
              "This machine mounts under TO what the case names under FROM (also MAIL_EXTRACT_MAP, with \";\" between)",
              "FROM=TO");
}

void add_add(CLI::App& group, const chooser& choose)
{
    std::shared_ptr<add_sources_options> options;
    CLI::App& command = add_command(group, choose, "add", "Add sources, and rows of sources.csv that have no index",
                                    add_sources_command, options);
    add_texts(command, "SOURCE", options->sources, "Directories with sources' file systems; only read", "");
    add_text(command, "--evidence-number", options->evidence_number, "Evidence number of the one source");
    add_text(command, "--from", options->from, "Table with the columns evidence_number, source, notes", "FILE");
    add_mappings(command, options->mappings);
}

void add_run(CLI::App& group, const chooser& choose)
{
    std::shared_ptr<run_case_options> options;
    CLI::App& command =
        add_command(group, choose, "run", "Extract the sources that have no result", run_case_command, options);
    const auto positive = CLI::Range(1, std::numeric_limits<int>::max());
    CLI::Option* index =
        command
            .add_option("--index", options->index,
                        "Only this source (default: that of SLURM_ARRAY_TASK_ID, SGE_TASK_ID, PARALLEL_SEQ or "
                        "JOB_COMPLETION_INDEX + 1 where set)")
            ->check(positive)
            ->type_name("N");
    command.add_option("--jobs", options->jobs, "Sources at a time")
        ->check(CLI::Range(1, 1024))
        ->type_name("N")
        ->excludes(index);
    add_text(command, "--retry", options->retry,
             "Only the failed ones (with failures too), or only the partial and cancelled ones")
        ->check(CLI::IsMember({"failed", "partial"}));
    add_mappings(command, options->mappings);
    command.add_flag("--follow-links-outside", options->follow_links_outside,
                     "Run in spite of links that leave a source or go in circles");
    add_lease_options(command, *options);
    command.add_flag("--quiet", options->quiet, "Show no progress");
}

void add_submit(CLI::App& group, const chooser& choose)
{
    std::shared_ptr<submit_options> options;
    CLI::App& command =
        add_command(group, choose, "submit", "Write what a scheduler needs, and hand it over", submit_command, options);
    add_text(command, "--engine", options->engine, "Scheduler")
        ->check(CLI::IsMember({"slurm", "parallel", "sge", "kubernetes"}))
        ->default_str("slurm");
    command.add_option("--at-once", options->at_once, "Sources at a time")
        ->check(CLI::Range(1, 100'000))
        ->type_name("N")
        ->capture_default_str();
    command.add_flag("--retry", options->retry, "Only what failed, has failures, was lost or cancelled");
    command.add_flag("--go", options->go, "Hand it over now: the array, then the collector behind it");
    add_mappings(command, options->mappings);
    add_texts(command, "SBATCH_OPTIONS", options->engine_options, "Behind --: options for sbatch", "");
}

void add_status(CLI::App& group, const chooser& choose)
{
    std::shared_ptr<status_options> options;
    CLI::App& command = add_command(group, choose, "status", "Say how far the case is", status_command, options);
    command.add_flag("--json", options->json, "Print everything as JSON");
    command.add_flag("--watch", options->watch, "Print it again every two seconds until all is done");
}

void add_collect(CLI::App& group, const chooser& choose)
{
    std::shared_ptr<collect_options> options;
    CLI::App& command = add_command(group, choose, "collect", "Make one database, one set of tables and one report",
                                    collect_command, options);
    command.add_flag("--partial", options->partial, "Collect what there is of a case that is not finished");
    command.add_flag("--quiet", options->quiet, "Show no progress");
}

void add_verify(CLI::App& group, const chooser& choose)
{
    std::shared_ptr<verify_case_options> options;
    CLI::App& command = add_command(group, choose, "verify", "Hold every result against its seal and manifest again",
                                    verify_case_command, options);
    command.add_option("--jobs", options->jobs, "Results at a time")->check(CLI::Range(1, 1024))->type_name("N");
    command.add_flag("--quiet", options->quiet, "Show no progress");
}

} // namespace

void add_case_commands(CLI::App& program, const chooser& choose)
{
    CLI::App& group =
        *program.add_subcommand("case", "Many sources: on one machine or many, collected into one answer");
    group.require_subcommand(1);
    group.footer("Exit codes: 0 all done, 1 could not run, 2 usage, 3 with failures, 6 not finished, 75 another task "
                 "has this source, 130 cancelled.");
    add_new(group, choose);
    add_add(group, choose);
    add_run(group, choose);
    add_submit(group, choose);
    add_status(group, choose);
    add_collect(group, choose);
    add_verify(group, choose);
}
