#include "host/html/html_writer.h"

#include <QIODevice>

namespace {

constexpr qsizetype pending_characters = 16'384;

} // namespace

report_html::report_html(QIODevice* target) : device(target), xml(&pending)
{
    pending.reserve(2 * pending_characters);
}

void report_html::close()
{
    xml.writeEndElement();
    if (--depth == 0 || pending.size() >= pending_characters) {
        device->write(pending.toUtf8());
        pending.resize(0); // and keeps its memory
    }
}

report_html::open_element report_html::open(const char* name, attributes with)
{
    xml.writeStartElement(QString::fromLatin1(name));
    for (const auto& [key, value] : with) {
        xml.writeAttribute(QString::fromLatin1(key), value);
    }
    label_cell(name, with);
    // Ends the start tag, so that an element without content is not written "<td/>", which HTML takes for a start tag.
    xml.writeCharacters(QString());
    ++depth;
    return open_element(*this);
}

void report_html::label_cell(QByteArrayView name, attributes with)
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
    // The start tag has ended, so that what comes next may be written beside the writer, which has no quick way.
    qsizetype begin = 0;
    for (qsizetype i = 0; i < displayed.size(); ++i) {
        if (QStringView(u"@./-").contains(displayed[i]) && i + 1 < displayed.size()) {
            pending += displayed.mid(begin, i + 1 - begin).toHtmlEscaped() + QLatin1String("<wbr/>");
            begin = i + 1;
        }
    }
    pending += displayed.mid(begin).toHtmlEscaped();
}

void report_html::doctype()
{
    xml.writeDTD(QStringLiteral("<!DOCTYPE html>\n"));
}

void report_html::verbatim(const char* name, const char* content)
{
    const auto whole = open(name);
    pending += QString::fromUtf8(content);
}
