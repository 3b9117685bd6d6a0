#pragma once

#include "host/case_tasks/case_progress.h"
#include "host/case_tasks/source_task.h"

#include <QList>

/// Extracts sources, `jobs` at a time, and shows how far this is. Interrupted, it begins none any more and asks those
/// at work to end. Returns the outcomes in the order of the sources; one that was not begun has the state "waiting".
QList<task_outcome> run_tasks(const QList<case_source>& sources, const task_settings& settings, int jobs,
                              case_progress& shown);
