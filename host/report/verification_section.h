#pragma once

#include "host/report/data.h"
#include "host/report/html_writer.h"

/// Writes how many files have which status, and the files that are neither copied nor hidden, up to a limit that is
/// stated. `directory` is where the report lies.
void write_verification(report_html& html, const report_data& data, const QString& directory);

/// Writes the failure lines of the log, up to a limit that is stated.
void write_log_failures(report_html& html, const report_data& data);
