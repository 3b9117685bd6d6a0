#pragma once

#include "host/html/html_writer.h"

#include <QString>

/// Writes the "head" of a page with the report's style sheet, in which nothing but that and the report's script may
/// work and nothing may be loaded.
void write_document_head(report_html& html, const QString& title);
