#include "host/html/html_writer.h"

#include <QIODevice>

report_html::report_html(QIODevice* target) : device(target), xml(target) {}

report_html::open_element report_html::open(const char* name, attributes with)
{
    xml.writeStartElement(QString::fromLatin1(name));
    for (const auto& [key, value] : with) {
        xml.writeAttribute(QString::fromLatin1(key), value);
    }
    label_cell(name, with);
    // Ends the start tag, so that an element without content is not written "<td/>", which HTML takes for a start tag.
    xml.writeCharacters(QString());
    return open_element(xml);
}

void report_html::label_cell(const QByteArray& name, attributes with)
{
    if (name == "table") {
        columns.clear();
    }
    if (name == "tr") {
        column = 0;
    }
    if (name != "td" && name != "th") {
        return;
    }
    if (name == "td" && column < columns.size()) {
        xml.writeAttribute(QStringLiteral("data-label"), columns[column]);
    }
    ++column;
    for (const auto& [key, value] : with) {
        column += qstrcmp(key, "colspan") == 0 ? value.toInt() - 1 : 0;
    }
}

void report_html::empty(const char* name, attributes with)
{
    xml.writeEmptyElement(QString::fromLatin1(name));
    for (const auto& [key, value] : with) {
        xml.writeAttribute(QString::fromLatin1(key), value);
    }
}

void report_html::element(const char* name, const QString& content, attributes with)
{
    const auto whole = open(name, with);
    text(content);
}

void report_html::text(const QString& content)
{
    xml.writeCharacters(content);
}

void report_html::foreign(const QString& displayed)
{
    const auto whole = open("bdi");
    qsizetype begin = 0;
    for (qsizetype i = 0; i < displayed.size(); ++i) {
        if (QStringLiteral("@./-").contains(displayed[i]) && i + 1 < displayed.size()) {
            text(displayed.mid(begin, i + 1 - begin));
            empty("wbr", {});
            begin = i + 1;
        }
    }
    text(displayed.mid(begin));
}

void report_html::doctype()
{
    xml.writeDTD(QStringLiteral("<!DOCTYPE html>\n"));
}

void report_html::verbatim(const char* name, const char* content)
{
    const auto whole = open(name);
    device->write(content);
}
