#pragma once

#include "host/result/result_paths.h"

#include <QString>
#include <QStringList>

/// Writes the report of a result directory as one HTML file, replacing an earlier one in one step. What the result
/// lacks is said in the report. Throws a failure when there is no result database or no file can be written, and when
/// the file would lie in the source. Returns what is there and cannot be read, one line each, which it says too.
QStringList write_report(const result_paths& result, const QString& output);
