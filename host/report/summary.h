#pragma once

#include "host/html/html_writer.h"
#include "host/report/data.h"
#include "host/report/dossier_section.h"

/// Writes whether the result is whole, and a line for everything that makes it less, or that a reader may miss.
void write_report_notices(report_html& html, const report_data& data);

/// Writes the line and the row of totals.
void write_report_tiles(report_html& html, const report_data& data, const report_dossier& dossier);

/// Writes what ran: program, plug-in, machine, command line, options, files of the result.
void write_run_facts(report_html& html, const report_data& data);
