#pragma once

#include "host/html/html_writer.h"
#include "host/report/data.h"

/// Writes the table of all accounts, grouped by user, with links to the copied folders that are relative to
/// `directory`, the absolute path in which the report lies.
void write_account_table(report_html& html, const report_data& data, const QString& directory);

/// Returns the link from a directory to a folder or file, both absolute: relative and percent-encoded.
QString relative_link(const QString& directory, const QString& target);
