#pragma once

#include "host/case_tasks/source_task.h"
#include "host/terminal/progress.h"

#include <QElapsedTimer>

#include <functional>

/// A source whose extraction runs.
struct source_at_work
{
    QString label;
    QString progress;        ///< how far it says that it is; empty as long as it says nothing
    qint64 milliseconds = 0; ///< so long already
};

/// Shows on standard error how far a case is: a line a source that is at work, one when it ends, and one for all.
class case_progress
{
public:
    case_progress(qsizetype total, progress_style style);
    ~case_progress();
    Q_DISABLE_COPY_MOVE(case_progress)

    /// Tells how a source ended: its label, what to say of it, and how long it took.
    void ended(const QString& label, const QString& text, qint64 milliseconds);
    /// Shows how far all are when it is time to; only then `at_work` is asked.
    void update(const std::function<QList<source_at_work>()>& at_work);

private:
    QString text_for_all(const QList<source_at_work>& at_work) const;
    void show(const QString& line);
    void draw(const QStringList& lines);
    void remove_drawn();

    qsizetype total;
    progress_style style;
    qsizetype done = 0;
    qsizetype drawn = 0;     ///< lines on the terminal that go again
    qint64 milliseconds = 0; ///< of those that are done together
    QElapsedTimer since_shown;
};

/// Returns what to say of a source that ended: "whole, 558 files (1.3 MB), 0:03".
QString outcome_text(const task_outcome& outcome);
