#include "host/html/html_writer.h"
#include "host/text/display_text.h"
#include "host/text/text_layout.h"
#include "tests/fuzz/fuzz_target.h"

#include <QBuffer>

namespace {

/// The bytes that a name had before it was shown.
QByteArray as_it_was(const QString& shown)
{
    QByteArray raw;
    for (qsizetype i = 0; i < shown.size(); ++i) {
        if (shown[i] != u'\\') {
            const qsizetype length = shown[i].isHighSurrogate() ? 2 : 1;
            raw += shown.mid(i, length).toUtf8();
            i += length - 1;
            continue;
        }
        const char16_t kind = shown.at(++i).unicode();
        if (kind == u'x') {
            raw += char(shown.mid(i + 1, 2).toInt(nullptr, 16));
            i += 2;
        } else if (kind == u'u') {
            const qsizetype end = shown.indexOf(u'}', i);
            const char32_t character = shown.mid(i + 2, end - i - 2).toUInt(nullptr, 16);
            // Alone it would be taken for a mark and dropped.
            raw += character == QChar::ByteOrderMark ? "\xEF\xBB\xBF" : QString::fromUcs4(&character, 1).toUtf8();
            i = end;
        } else {
            raw += kind == u'n' ? '\n' : kind == u'r' ? '\r' : kind == u't' ? '\t' : '\\';
        }
    }
    return raw;
}

/// What a reader of the page sees is what was written.
void write_page(const QString& shown)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    report_html(&buffer).foreign(shown);
    QXmlStreamReader page(buffer.data());
    page.readNextStartElement();
    require(page.readElementText(QXmlStreamReader::IncludeChildElements) == shown && !page.hasError());
}

} // namespace

fuzz_plan plan()
{
    return {256,
            {"\\", "\\x", "\\u{", "\xEF\xBB\xBF", "\xE2\x80\xAE", "\xCC\x88", "\xE9\x83\xB5", "\xF0\x9F\x93\xA7", "<",
             "&", "]]>", "\xEF\xBF\xBF", "\xED\xA0\x80"},
            {"a\\b\n\xFF\xC3\xBC", "\xEF\xBB\xBFname", "<b>&amp;\xE2\x80\xAE@x.y"}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray raw = bytes_of(data, size);
    const QString shown = display_text(raw);
    require(as_it_was(shown) == raw);
    require(display_text(shown) == shown);
    write_page(shown);
    for (const qsizetype width : {1, 2, 7, 20}) {
        const QString shortened = shortened_in_middle(shown, width);
        require(text_width(shortened) <= width && (text_width(shown) > width || shortened == shown));
    }
    require(wrapped(shown, 10).join(u' ').remove(u' ') == QString(shown).remove(u' '));
    return 0;
}
