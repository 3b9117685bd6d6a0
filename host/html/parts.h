#pragma once

#include "host/html/html_writer.h"

#include <QList>

/// One column's title, with a word of explanation shown when pointing at it; empty for none.
struct table_head
{
    const char* title;
    bool is_number = false;
    const char* explanation = "";
};

/// Writes "thead" with one row of titles.
void write_table_head(report_html& html, const QList<table_head>& heads);

/// Writes a table cell with a number, sorted by `value` and shown as `text`.
void write_number(report_html& html, qint64 value, const QString& text, const char* style_class = "num");

/// Writes a fact of a "dl" with text from outside; "not known" for an empty one.
void write_fact_or_unknown(report_html& html, const char* name, const QString& value);

/// Writes a table cell with text from outside, made visible.
void write_foreign_cell(report_html& html, const QString& text);

/// Writes a line that stands out; `kind` is "good", "warn" or "bad".
void write_notice(report_html& html, const char* kind, const QString& text);
