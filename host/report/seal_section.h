#pragma once

#include "host/report/data.h"
#include "host/report/html_writer.h"

/// Writes the seal of the run and a table of every verification since, the newest first.
void write_seal(report_html& html, const report_data& data);
