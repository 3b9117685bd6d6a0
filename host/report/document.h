#pragma once

#include <QString>

/// Returns where the report of a result lies unless another place is named.
QString default_report_path(const QString& result);

/// Writes the report of a result directory as one HTML file, replacing an earlier one in one step. What the result
/// lacks is said in the report; false, with one line in `error`, when there is no result database or no file can be
/// written, and when the file would lie in the source.
bool write_report(const QString& result, const QString& output, QString& error);
