#include "host/case_tasks/task_pool.h"

#include "host/case_tasks/core_places.h"
#include "host/cases/case_overview.h"
#include "host/terminal/exit_codes.h"
#include "host/terminal/interruption.h"
#include "host/text/failure.h"

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

namespace {

constexpr int most_ms_between_looks = 50;

struct placed_task
{
    qsizetype place = 0; ///< in the list of sources
    std::optional<int> core;
    std::unique_ptr<source_task> task;
};

/// What cannot be done for one source ends that source, not the others.
std::optional<task_outcome> outcome_of(const std::function<std::optional<task_outcome>()>& step)
{
    try {
        return step();
    } catch (const failure& problem) {
        task_outcome outcome;
        outcome.record.state = source_state::failed;
        outcome.record.reason = problem.message();
        outcome.exit_code = exit_code::could_not_run;
        return outcome;
    }
}

class task_pool
{
public:
    task_pool(const QList<case_source>& given, const task_settings& common, int at_a_time, case_progress& progress)
        : sources(given)
        , settings(common)
        , jobs(at_a_time)
        , shown(progress)
        , outcomes(given.size())
        , cores(at_a_time)
    {
        looking.start(most_ms_between_looks);
    }

    QList<task_outcome> run()
    {
        while (!running.empty() || has_next()) {
            // An ended extraction is told of when the next one is at work, so that its place does not stand empty.
            fill_places();
            const bool is_any_ended = advance_all();
            shown.update([this] { return at_work(); });
            if (!running.empty() && !is_any_ended) {
                // The end of a process is an event.
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            }
        }
        return outcomes;
    }

private:
    bool has_next() const { return next < sources.size() && !interruption::requested(); }

    void fill_places()
    {
        int extracting = 0;
        QList<int> taken;
        for (const placed_task& placed : running) {
            if (placed.task->is_extracting()) {
                ++extracting;
                taken += placed.core ? QList<int>{*placed.core} : QList<int>();
            }
        }
        for (; extracting < jobs && has_next(); extracting += begin_next(taken) ? 1 : 0) {
        }
        if (extracting < jobs && !is_spread) {
            is_spread = true;
            for (const placed_task& placed : running) {
                cores.let_use_all(placed.task->extraction());
            }
        }
    }

    /// False when that was over at once.
    bool begin_next(QList<int>& taken)
    {
        placed_task started{next++, cores.emptiest(taken), nullptr};
        started.task = std::make_unique<source_task>(sources[started.place], settings);
        if (const auto outcome = outcome_of([&started] { return started.task->begin(started.core); })) {
            end(started.place, *outcome);
            return false;
        }
        taken += started.core ? QList<int>{*started.core} : QList<int>();
        running.push_back(std::move(started));
        return true;
    }

    bool advance_all()
    {
        return std::erase_if(running, [this](const placed_task& placed) {
                   if (interruption::requested()) {
                       placed.task->cancel();
                   }
                   const auto outcome = outcome_of([&placed] { return placed.task->advance(); });
                   if (outcome) {
                       end(placed.place, *outcome);
                   }
                   return outcome.has_value();
               }) > 0;
    }

    void end(qsizetype place, const task_outcome& outcome)
    {
        outcomes[place] = outcome;
        shown.ended(label_of(sources[place]), outcome_text(outcome), outcome.record.milliseconds);
    }

    QList<source_at_work> at_work() const
    {
        QList<source_at_work> tasks;
        for (const placed_task& placed : running) {
            tasks.append({label_of(sources[placed.place]), placed.task->progress(), placed.task->milliseconds()});
        }
        return tasks;
    }

    const QList<case_source>& sources;
    const task_settings& settings;
    const int jobs;
    case_progress& shown;
    QList<task_outcome> outcomes;
    std::vector<placed_task> running;
    qsizetype next = 0;
    core_places cores;
    bool is_spread = false; ///< those that are left use all cores
    QTimer looking;
};

} // namespace

QList<task_outcome> run_tasks(const QList<case_source>& sources, const task_settings& settings, int jobs,
                              case_progress& shown)
{
    return task_pool(sources, settings, jobs, shown).run();
}
