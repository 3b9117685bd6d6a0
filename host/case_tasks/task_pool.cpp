#include "host/case_tasks/task_pool.h"

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

} // namespace

QList<task_outcome> run_tasks(const QList<case_source>& sources, const task_settings& settings, int jobs,
                              case_progress& shown)
{
    QList<task_outcome> outcomes(sources.size());
    std::vector<placed_task> running;
    qsizetype next = 0;
    QTimer looking;
    looking.start(most_ms_between_looks);
    const auto end = [&](qsizetype place, const task_outcome& outcome) {
        outcomes[place] = outcome;
        shown.ended(label_of(sources[place]), outcome_text(outcome));
    };
    while (!running.empty() || (next < sources.size() && !interruption::requested())) {
        // An ended extraction is told of when the next one is at work, so that its place does not stand empty.
        auto at_work = std::count_if(running.begin(), running.end(),
                                     [](const placed_task& placed) { return placed.task->is_extracting(); });
        while (at_work < jobs && next < sources.size() && !interruption::requested()) {
            placed_task started{next++, nullptr};
            started.task = std::make_unique<source_task>(sources[started.place], settings);
            if (const auto outcome = outcome_of([&started] { return started.task->begin(); })) {
                end(started.place, *outcome);
            } else {
                running.push_back(std::move(started));
                ++at_work;
            }
        }
        const auto ended = std::erase_if(running, [&end](const placed_task& placed) {
            if (interruption::requested()) {
                placed.task->cancel();
            }
            const auto outcome = outcome_of([&placed] { return placed.task->advance(); });
            if (outcome) {
                end(placed.place, *outcome);
            }
            return outcome.has_value();
        });
        shown.update([&] {
            QList<source_at_work> shown_tasks;
            for (const placed_task& placed : running) {
                shown_tasks.append({label_of(sources[placed.place]), placed.task->progress()});
            }
            return shown_tasks;
        });
        if (!running.empty() && ended == 0) {
            // The end of a process is an event.
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }
    return outcomes;
}
