#include "host/result/manifest_fields.h"
#include "host/result/sums.h"
#include "host/text/csv.h"
#include "tests/fuzz/fuzz_target.h"

#include <algorithm>
#include <cstring>

namespace {

void write_and_read_name(const QByteArray& name)
{
    for (const QByteArray& text : {percent_encoded_name(name), percent_encoded_cell(name)}) {
        require(percent_decoded_name(text) == name);
        require(std::none_of(text.begin(), text.end(), [](char c) { return quint8(c) < 0x20 || quint8(c) == 0x7f; }));
        require(text.isValidUtf8());
    }
    // What stands in a message is found in the manifest.
    require(manifest_text(name).toUtf8() == percent_encoded_name(name));
    const auto decoded = percent_decoded_name(name);
    require(!decoded || percent_decoded_name(percent_encoded_name(*decoded)) == decoded);
}

void write_and_read_time(const QByteArray& bytes)
{
    if (const auto time = time_from_text(bytes)) {
        require(time->nanoseconds >= 0 && time->nanoseconds < 1'000'000'000 && time_to_text(*time) == bytes);
    }
    file_time time{0, 0};
    if (bytes.size() >= 12) {
        std::memcpy(&time.seconds, bytes.constData(), sizeof(time.seconds));
        time.nanoseconds = int((quint8(bytes[8]) | quint8(bytes[9]) << 8 | quint8(bytes[10]) << 16) * 59);
    }
    require(time_from_text(time_to_text(time)) == time);
}

void write_and_read_lines(const QByteArray& bytes)
{
    const QByteArrayList fields = bytes.split('\0');
    const QByteArray line = csv_line(fields);
    require(line.endsWith("\r\n") && csv_fields(line.chopped(2)) == fields);
    if (const auto read = csv_fields(bytes)) {
        require(csv_fields(csv_line(*read).chopped(2)) == read);
    }
    require(spreadsheet_text(bytes).endsWith(bytes));
    if (const auto listed = sum_from_line(bytes)) {
        const auto again = sum_from_line(sums_line(listed->digest, listed->path).chopped(1));
        require(again && again->digest == listed->digest && again->path == listed->path);
    }
}

} // namespace

fuzz_plan plan()
{
    const QByteArray digest(64, 'f');
    return {256,
            {"%", "%0A", "%EF", "\xEF\xBB\xBF", "\xC2\x85", "2024-03-05T14:07:09.000000000Z", "+10000-", "-00001-",
             "292277026596-12-04T15:30:07.", "-12345678", digest, "  ", "\"\"", "\",\"", "=", "\r\n"},
            {"2024-03-05T14:07:09.000000000Z", "+292277026596-12-04T15:30:07.999999999Z", digest + "  a/b",
             '\\' + digest + "  a\\nb", "a,\"b \"\"c\"\"\",d", "%C3%28x\xC3\xBC"}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = bytes_of(data, size);
    write_and_read_name(bytes);
    write_and_read_time(bytes);
    write_and_read_lines(bytes);
    return 0;
}
