#pragma once

#include "host/case_tasks/child_process.h"
#include "host/cases/attempt.h"
#include "host/cases/case_overview.h"
#include "host/cases/case_settings.h"
#include "host/cases/lease_beats.h"
#include "host/cases/path_mapping.h"
#include "host/cases/source_state.h"

#include <QElapsedTimer>
#include <QProcess>

#include <memory>
#include <optional>

/// What all tasks of a run have in common.
struct task_settings
{
    case_paths paths;
    case_settings data;
    QList<path_mapping> mappings;
    retry_kind retry = retry_kind::none;
    bool follow_links_outside = false;
};

/// How a task at a source ended.
struct task_outcome
{
    attempt_record record;
    int exit_code = 0;
    bool was_done = false; ///< nothing had to be done
};

/// Extracts one source in a process of its own, under a lease, into an attempt of its own.
class source_task
{
public:
    source_task(const case_source& source, const task_settings& settings);
    ~source_task();
    Q_DISABLE_COPY_MOVE(source_task)

    /// Takes the lease, checks the source and starts the extraction, where given on one core alone; an outcome when it
    /// is over already.
    std::optional<task_outcome> begin(std::optional<int> core);
    /// Looks after the extraction; to be called several times a second. An outcome at the end. Signs of life come
    /// meanwhile and between.
    std::optional<task_outcome> advance();
    /// Asks the extraction to end, or sees to it that it is asked; what it wrote stays. To be called again until it
    /// ended.
    void cancel();

    /// False once the extraction has ended and its place is free for the next.
    bool is_extracting();
    const QProcess& extraction() const { return process; }

    /// Returns how far the extraction says that it is; empty as long as it says nothing.
    QString progress() const { return current ? last_progress(current->log()) : QString(); }
    /// Returns how long it is at work.
    qint64 milliseconds() const { return since_start.elapsed(); }

private:
    std::optional<task_outcome> done_already();
    std::optional<task_outcome> take_lease();
    std::optional<task_outcome> begin_attempt();
    std::optional<task_outcome> check_source();
    /// Notes what a source is that was not there when it was added; false when the case has it already.
    bool note_source(registered_source& registration, const source_fingerprint& found);
    std::optional<task_outcome> start_process();
    QStringList run_arguments() const;
    void fail(const QString& reason);
    void take_ending();
    void take_result();
    void write_state() const;
    task_outcome conclude();
    task_outcome taken_over();

    case_source task_source;
    const task_settings& settings;
    std::optional<lease> held;
    std::unique_ptr<lease_beats> beats; ///< of `held`
    std::optional<attempt> current;
    attempt_record record;
    std::optional<registered_source> before_note; ///< when this attempt noted what the source is
    std::optional<int> core;
    bool replaces_whole = false;
    QProcess process;
    QElapsedTimer since_start;
    QElapsedTimer since_cancel;
    bool is_cancelled = false;
    bool is_asked = false; ///< to end
};
