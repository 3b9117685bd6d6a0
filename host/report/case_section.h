#pragma once

#include "host/html/html_writer.h"
#include "host/report/data.h"

/// Writes the title and the facts of the case: what the examiner said of it, the Mac, the run.
void write_report_header(report_html& html, const report_data& data);

/// Writes the hashes of program, library, manifest, database and seal, and lines to sign.
void write_declaration(report_html& html, const report_data& data);

/// Writes what stands at the foot of every printed page; on a screen it is not shown.
void write_page_foot(report_html& html, const report_data& data);
