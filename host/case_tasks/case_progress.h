#pragma once

#include "host/case_tasks/source_task.h"
#include "host/terminal/progress.h"

#include <QElapsedTimer>

/// Shows on standard error how far a case is: one line a source when it ends, and one for all.
class case_progress
{
public:
    case_progress(qsizetype total, progress_style style);
    ~case_progress();
    Q_DISABLE_COPY_MOVE(case_progress)

    /// Tells that work on a source begins.
    void begun(const QString& label);
    /// Tells how a source ended: its label and what to say of it.
    void ended(const QString& label, const QString& text);
    /// Shows the line for all when it is time to.
    void update();

private:
    QString text_for_all() const;
    void show(const QString& line);
    void remove_line_for_all();

    qsizetype total;
    progress_style style;
    qsizetype done = 0;
    QStringList running;
    QElapsedTimer since_start;
    QElapsedTimer since_shown;
};

/// Returns what to say of a source that ended: "whole, 558 files (1.3 MB), 0:03".
QString outcome_text(const task_outcome& outcome);
