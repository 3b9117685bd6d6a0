#include "host/files/property_list.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

const QByteArray start("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
const QByteArray key("<key>Live</key><string>");

/// Most inputs get a beginning without which they would be refused at once.
const QByteArrayList& beginnings()
{
    static const QByteArrayList texts{{}, "bplist00", start + "<plist><dict>", start + "<!DOCTYPE plist ["};
    return texts;
}

} // namespace

fuzz_plan plan()
{
    const QByteArray list = "<plist version=\"1.0\"><dict>" + key + "V10</string></dict></plist>";
    return {1024,
            {key, "</string>", "</dict></plist>", "<!ENTITY a \"aaaaaaaa\">", "]><plist><dict>", "&a;", "&#x41;",
             "&amp;", "<![CDATA[", "]]>", "<!--", "<dict>", "<array/>", "\x54Live", "\x5F\x10", "\xD1", "\x01\x01"},
            {QByteArray(1, '\0') + start + "<!DOCTYPE plist PUBLIC \"-//x\" \"http://x\">" + list,
             "\x02" + key + "V10</string></dict></plist>",
             "\x01\xD1\x01\x02\x54Live\x53V10" + QByteArray("\x08\x0B\x10", 3) +
                 QByteArray("\0\0\0\0\0\0\1\1\0\0\0\0\0\0\0\3\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x14", 32)}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray list = beginnings()[size == 0 ? 0 : data[0] % beginnings().size()] + bytes_of(data, size).mid(1);
    const property_list_value found = property_list_string(list, QStringLiteral("Live"));
    require(found.error.isEmpty() || found.value.isEmpty());
    // Nothing in a list can make of it more than it is.
    require(found.value.size() <= list.size());
    return 0;
}
