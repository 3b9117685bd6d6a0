#pragma once

#include "host/html/html_writer.h"
#include "host/report/data.h"

/// Writes the seal of the run and a table of every verification since, the newest first.
void write_seal(report_html& html, const report_data& data);
