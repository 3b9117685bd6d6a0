#include "host/completeness/emptied_parts.h"
#include "tests/fuzz/fuzz_target.h"

#include <algorithm>

namespace {

struct finding
{
    std::vector<emptied_part> parts;
    bool is_complete;
};

/// Reads a message in pieces; what is found must not depend on their size.
finding parts_of(const QByteArray& message, qsizetype piece)
{
    emptied_part_finder finder;
    for (qsizetype at = 0; at < message.size(); at += piece) {
        finder.add(QByteArrayView(message).sliced(at, std::min(piece, message.size() - at)));
    }
    return {finder.finish(), finder.is_complete()};
}

bool is_same(const emptied_part& one, const emptied_part& other)
{
    return one.number == other.number && one.length == other.length;
}

} // namespace

fuzz_plan plan()
{
    return {2048,
            {"Content-Type: ", "multipart/mixed;", " boundary=\"a\"", "boundary*0=a", "message/rfc822", "\n--a\n",
             "\n--a--\n", "Content-Disposition: attachment; filename=\"f\"", "X-Apple-Content-Length: 90\n\n", "\n\n",
             "\r\n", "name*=utf-8''x", ";", "=", "9223372036854775808"},
            {"Content-Type: multipart/mixed;\n\tboundary=\"a\"\n\n--a\nContent-Type: image/png\n"
             "X-Apple-Content-Length: 90\n\n\n--a\nContent-Type: message/rfc822\n\nContent-Type: multipart/x; "
             "boundary=b\n\n--b\nContent-Disposition: attachment\n\n--b--\n--a--\n",
             "Content-Type: text/calendar;\n name*=utf-8''x\n\n"}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray message = bytes_of(data, size);
    const finding whole = parts_of(message, std::max<qsizetype>(message.size(), 1));
    const finding pieces = parts_of(message, size == 0 ? 1 : 1 + data[0] % 16);
    require(whole.is_complete == pieces.is_complete);
    require(std::equal(whole.parts.begin(), whole.parts.end(), pieces.parts.begin(), pieces.parts.end(), is_same));
    for (const emptied_part& part : whole.parts) {
        require(!part.number.isEmpty() && part.length >= -1 && part.length != 0);
    }
    // No more parts than lines that could begin one.
    require(qsizetype(whole.parts.size()) <= 1 + message.count('\n') + message.count("--"));
    return 0;
}
