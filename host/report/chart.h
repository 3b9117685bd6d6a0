#pragma once

#include "host/html/html_writer.h"
#include "host/report/data.h"

/// Writes when each user's files were last changed, by year, as inline SVG, and a line on what does not fit in it.
void write_report_chart(report_html& html, const QList<report_user>& users);
