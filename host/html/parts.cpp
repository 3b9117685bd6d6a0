#include "host/html/parts.h"

#include "host/text/display_text.h"

void write_table_head(report_html& html, const QList<table_head>& heads)
{
    const auto head = html.open("thead");
    const auto row = html.open("tr");
    QStringList titles;
    for (const table_head& column : heads) {
        titles.append(QString::fromLatin1(column.title));
        html.element("th", QString::fromLatin1(column.title),
                     {{"scope", QStringLiteral("col")},
                      {"class", column.is_number ? QStringLiteral("num") : QString()},
                      {"title", QString::fromLatin1(column.explanation)}});
    }
    html.set_columns(titles);
}

void write_number(report_html& html, qint64 value, const QString& text, const char* style_class)
{
    html.element("td", text,
                 {{"class", QString::fromLatin1(style_class)},
                  {"data-key", QString::number(value)},
                  {"title", display_number(value)}});
}

void write_fact_or_unknown(report_html& html, const char* name, const QString& value)
{
    html.element("dt", QString::fromLatin1(name));
    const auto cell = html.open("dd");
    html.foreign(display_text(value.isEmpty() ? QStringLiteral("not known") : value));
}

void write_foreign_cell(report_html& html, const QString& text)
{
    const auto cell = html.open("td");
    html.foreign(display_text(text));
}

void write_notice(report_html& html, const char* kind, const QString& text)
{
    html.element("p", text, {{"class", QStringLiteral("notice ") + QString::fromLatin1(kind)}});
}
