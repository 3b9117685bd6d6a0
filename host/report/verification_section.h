#pragma once

#include "host/html/html_writer.h"
#include "host/report/data.h"

/// Writes how many files have which status. `directory` is where the report lies.
void write_verification(report_html& html, const report_data& data, const QString& directory);

/// Writes the files that are neither copied nor kept, up to a limit that is stated, equal findings folded.
void write_manifest_exceptions(report_html& html, const report_data& data, const QString& directory);

/// Writes the failure lines of the log, up to a limit that is stated, equal ones as one with their number.
void write_log_failures(report_html& html, const report_data& data);
