#include "host/case_tasks/source_task.h"

#include "host/case_tasks/core_places.h"
#include "host/files/quiet_reading.h"
#include "host/result/result_paths.h"
#include "host/result/run_record.h"
#include "host/result/seal.h"
#include "host/terminal/exit_codes.h"
#include "host/text/failure.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>

#include <algorithm>

namespace {

// Schedulers kill half a minute after they asked a job to end.
constexpr qint64 longest_ending_ms = 20'000;

constexpr qint64 ms_for_signal_of_scheduler = 1000;

struct ending
{
    int exit_code;
    source_state state;
};
constexpr ending endings[] = {{exit_code::whole, source_state::whole},
                              {exit_code::with_failures, source_state::with_failures},
                              {exit_code::no_mail_directory, source_state::no_mail},
                              {exit_code::cancelled, source_state::cancelled}};

source_state state_for(int exit_code)
{
    const auto* found = std::find_if(std::begin(endings), std::end(endings),
                                     [exit_code](const ending& one) { return one.exit_code == exit_code; });
    return found != std::end(endings) ? found->state : source_state::failed;
}

int exit_code_for(source_state state)
{
    const auto* found =
        std::find_if(std::begin(endings), std::end(endings), [state](const ending& one) { return one.state == state; });
    return found != std::end(endings) ? found->exit_code : exit_code::could_not_run;
}

QString now_utc()
{
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
}

QString job_of_lease(const lease_view& view)
{
    return view.holder.job.isEmpty() ? QString() : QStringLiteral(", job ") + view.holder.job;
}

task_outcome held_elsewhere(const lease_view& holder)
{
    task_outcome outcome;
    outcome.record.state = source_state::running;
    outcome.record.node = holder.holder.node;
    outcome.record.reason =
        QStringLiteral("another task has this source: process %1 on %2%3, last sign of life %4 s ago")
            .arg(holder.holder.process)
            .arg(holder.holder.node, job_of_lease(holder))
            .arg(static_cast<double>(holder.age_ms) / 1000, 0, 'f', 1);
    if (!holder.error.isEmpty()) {
        outcome.record.reason = QStringLiteral("another task may have this source: %1").arg(holder.error);
    }
    outcome.exit_code = exit_code::held_elsewhere;
    return outcome;
}

/// Why a source that is there is not the one that was added; empty when it is.
QString reason_for_other_source(const source_fingerprint& recorded, const source_fingerprint& found)
{
    const QStringList differences = fingerprint_differences(recorded, found);
    return differences.isEmpty()
               ? QString()
               : QStringLiteral("another source lies there than was added: %1%2")
                     .arg(differences.first(), differences.size() > 1
                                                   ? QStringLiteral(", and %1 more").arg(differences.size() - 1)
                                                   : QString());
}

} // namespace

source_task::source_task(const case_source& source, const task_settings& common) : task_source(source), settings(common)
{
}

source_task::~source_task()
{
    end_at_once(process);
}

std::optional<task_outcome> source_task::done_already()
{
    const source_status status = look_at_source(task_source);
    const bool is_done = status.state == source_state::whole || status.state == source_state::no_mail ||
                         (status.state == source_state::with_failures && settings.retry != retry_kind::failed);
    replaces_whole = status.has_whole;
    if (!is_done) {
        const QString whole = task_source.file(QStringLiteral("whole"));
        if (quiet_stat(QFile::encodeName(whole)).kind == entry_kind::directory) {
            refuse(QStringLiteral("cannot replace %1: a directory, where a link should be").arg(whole));
        }
        return std::nullopt;
    }
    return task_outcome{status.attempt, exit_code_for(status.state), true};
}

std::optional<task_outcome> source_task::take_lease()
{
    // Before the lease, so that a node that may not write here does not keep others from the source.
    require_shared_files(task_source.directory);
    lease_view holder;
    held = lease::take(task_source.directory, settings.data.lease, next_generation(task_source), holder);
    if (!held) {
        return held_elsewhere(holder);
    }
    beats = std::make_unique<lease_beats>(*held);
    return std::nullopt;
}

std::optional<task_outcome> source_task::begin(std::optional<int> given_core)
{
    core = given_core;
    if (task_source.directory.isEmpty()) {
        refuse(QStringLiteral("%1 has no directory for index %2").arg(settings.paths.results()).arg(task_source.index));
    }
    since_start.start();
    // The second look at what is done sees a result that was made while the lease was being taken.
    for (const auto& step : {&source_task::done_already, &source_task::take_lease, &source_task::done_already,
                             &source_task::begin_attempt, &source_task::check_source, &source_task::start_process}) {
        if (auto outcome = (this->*step)()) {
            return outcome;
        }
    }
    return std::nullopt;
}

std::optional<task_outcome> source_task::begin_attempt()
{
    current = attempt::begin(task_source, *held);
    if (!current) {
        return taken_over();
    }
    record.state = source_state::running;
    record.attempt = current->name();
    record.generation = held->generation();
    record.index = task_source.index;
    record.node = node_of_this_process();
    record.job = job_of_this_process();
    record.started_utc = now_utc();
    record.source = path_on_this_machine(settings.paths.root(), task_source.source, settings.mappings);
    write_state();
    return std::nullopt;
}

std::optional<task_outcome> source_task::check_source()
{
    registered_source registration;
    try {
        registration = read_registration(task_source.directory);
    } catch (const failure& problem) {
        fail(problem.message());
        return conclude();
    }
    const source_fingerprint found = take_fingerprint(record.source);
    QString reason = found.error;
    if (reason.isEmpty() && registration.identity) {
        reason = reason_for_other_source(*registration.identity, found);
    }
    if (!reason.isEmpty()) {
        fail(QStringLiteral("cannot use the source %1: %2").arg(record.source, reason));
        return conclude();
    }
    if (!registration.identity && !note_source(registration, found)) {
        return conclude();
    }
    record.identity = fingerprint_sum(*registration.identity);
    return std::nullopt;
}

bool source_task::note_source(registered_source& registration, const source_fingerprint& found)
{
    const auto refused = [this](const QString& reason) {
        fail(QStringLiteral("cannot use the source %1: %2").arg(record.source, reason));
        return false;
    };
    if (lies_in_results(settings.paths, record.source)) {
        return refused(QStringLiteral("it lies among the results of the case"));
    }
    const registered_source unknown = registration;
    registration.identity = found;
    registration.path = QFile::decodeName(resolved_path(QFile::encodeName(record.source)));
    registration.time_utc = now_utc();
    int other = other_index_of(settings.paths, task_source.index, registration);
    if (other == 0) {
        write_registration(task_source.directory, registration);
        // Two tasks may come to note the same at the same time.
        other = other_index_of(settings.paths, task_source.index, registration);
        if (other == 0) {
            before_note = unknown;
            return true;
        }
        write_registration(task_source.directory, unknown);
    }
    return refused(QStringLiteral("the case has this source already, with index %1").arg(other));
}

QStringList source_task::run_arguments() const
{
    QStringList arguments{QStringLiteral("run"),
                          QStringLiteral("--source"),
                          record.source,
                          QStringLiteral("--result"),
                          current->directory(),
                          QStringLiteral("--source-number"),
                          QString::number(task_source.index)};
    case_data about = settings.data.about;
    about.evidence_number = task_source.evidence_number;
    for (const case_field& field : case_fields) {
        if (const QString& value = about.*field.value; !value.isEmpty()) {
            QString name = QString::fromLatin1(field.name);
            // In one word, so that a value that begins with "-" is none of ours.
            arguments.append(QStringLiteral("--%1=%2").arg(name.replace(QLatin1Char('_'), QLatin1Char('-')), value));
        }
    }
    if (settings.follow_links_outside) {
        arguments.append(QStringLiteral("--follow-links-outside"));
    }
    return arguments;
}

std::optional<task_outcome> source_task::start_process()
{
    start_own_program(process, run_arguments(), current->log(), core_places::keeper(core));
    if (!process.waitForStarted(-1)) {
        fail(QStringLiteral("cannot start %1: %2").arg(process.program(), process.errorString()));
        return conclude();
    }
    return std::nullopt;
}

bool source_task::is_extracting()
{
    return process.state() != QProcess::NotRunning && !process.waitForFinished(0);
}

std::optional<task_outcome> source_task::advance()
{
    if (beats->is_lost()) {
        return taken_over();
    }
    if (is_extracting()) {
        if (is_cancelled && since_cancel.elapsed() > longest_ending_ms) {
            end_at_once(process);
        }
        return std::nullopt;
    }
    take_ending();
    return conclude();
}

void source_task::cancel()
{
    if (!is_cancelled) {
        is_cancelled = true;
        since_cancel.start();
    }
    // A scheduler sends its signal to the extraction too; a second one would end it before it can write that down.
    const qint64 patience_ms = record.job.isEmpty() ? 0 : ms_for_signal_of_scheduler;
    if (!is_asked && since_cancel.elapsed() >= patience_ms) {
        is_asked = true;
        ask_to_end(process);
    }
}

void source_task::fail(const QString& reason)
{
    record.state = source_state::failed;
    record.reason = reason;
}

void source_task::take_ending()
{
    const bool was_killed = process.exitStatus() != QProcess::NormalExit;
    record.exit_code = was_killed ? -1 : process.exitCode();
    record.state = was_killed ? source_state::partial : state_for(record.exit_code);
    if (is_cancelled && !has_result(record.state) && record.state != source_state::no_mail) {
        record.state = source_state::cancelled;
    } else if (was_killed) {
        record.reason = QStringLiteral("the extraction was killed");
    } else if (record.state == source_state::failed) {
        record.reason = last_complaints(current->log());
        if (record.reason.isEmpty()) {
            record.reason = QStringLiteral("the extraction ended with exit code %1").arg(record.exit_code);
        }
    }
    if (has_result(record.state)) {
        try {
            take_result();
        } catch (const failure& problem) {
            fail(problem.message());
        }
    }
    if (record.state == source_state::no_mail) {
        // A disk that was taken away meanwhile looks as if nothing had ever been on it.
        if (const QString gone = take_fingerprint(record.source).error; !gone.isEmpty()) {
            fail(QStringLiteral("cannot use the source %1: %2").arg(record.source, gone));
        }
    }
}

void source_task::take_result()
{
    const result_paths result(current->directory());
    const auto run = read_run_record(result);
    if (const auto seal = read_seal(result)) {
        // What the extraction has just hashed need not be read again: who takes the result holds it against this.
        record.manifest_sha256 = sha256_in_seal(*seal, result, result.path(product::manifest));
        record.database_sha256 = sha256_in_seal(*seal, result, result.database());
        record.seal_sha256 = QString::fromLatin1(digest_to_hex(seal->root));
    }
    if (!run || !run->verification || record.manifest_sha256.isEmpty() || record.database_sha256.isEmpty()) {
        const QString complaint = last_complaints(current->log());
        fail(complaint.isEmpty() ? result.root() + QStringLiteral(": the extraction left no sealed result")
                                 : complaint);
        return;
    }
    record.failures = run->log_failures;
    for (std::size_t status = 0; status < entry_status_names.size(); ++status) {
        if (is_fault(static_cast<entry_status>(status))) {
            add_count(record.failures, run->verification->totals[status]);
        }
    }
    for (const user_record& user : run->users) {
        add_count(record.accounts, user.account_store_rows);
        add_count(record.accounts, user.mail_directory_rows);
    }
    record.files = run->verification->files;
    record.bytes = run->verification->bytes;
    record.program_version = run->program_version;
    record.plugin_version = run->plugin_version;
    record.plugin_sha256 = run->plugin_sha256;
}

void source_task::write_state() const
{
    // What counts stands in the record of the attempt; this tells how it goes.
    write_passing_record(task_source.file(QStringLiteral("state.json")), attempt_to_json(record));
}

task_outcome source_task::taken_over()
{
    end_at_once(process);
    if (current) {
        current->give_up();
    }
    task_outcome outcome;
    outcome.record.state = source_state::running;
    outcome.record.reason = QStringLiteral("another task has taken this source over; this attempt does not count");
    outcome.exit_code = exit_code::held_elsewhere;
    return outcome;
}

task_outcome source_task::conclude()
{
    record.ended_utc = now_utc();
    record.milliseconds = since_start.elapsed();
    if (!held->is_held()) {
        return taken_over();
    }
    // Before "whole": what it leads to must tell all at the moment it appears.
    current->write(record);
    if (has_result(record.state) || record.state == source_state::no_mail) {
        const claim_result made = held->is_held() ? current->make_whole(replaces_whole) : claim_result{claim::gone, {}};
        if (made.outcome == claim::failed) {
            refuse(QStringLiteral("cannot make %1: %2").arg(task_source.file(QStringLiteral("whole")), made.error));
        }
        if (made.outcome != claim::made) {
            return taken_over();
        }
    } else {
        if (before_note) {
            // What could not be extracted may have been the wrong disk.
            write_registration(task_source.directory, *before_note);
        }
        current->give_up();
    }
    write_state();
    beats.reset();
    held->release();
    return {record, exit_code_for(record.state), false};
}
