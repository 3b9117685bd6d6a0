#pragma once

#include "host/report/data.h"
#include "host/report/html_writer.h"

/// Writes a bar picture of files and bytes by user and account as inline SVG, and a line on what does not fit in it.
void write_report_chart(report_html& html, const QList<report_user>& users);
