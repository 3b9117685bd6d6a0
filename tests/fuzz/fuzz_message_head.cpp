#include "host/completeness/message_head.h"
#include "tests/fuzz/fuzz_target.h"

#include <algorithm>

fuzz_plan plan()
{
    return {512,
            {"From ", ">From ", "Subject: x\n", "999999999999999999", "9223372036854775808", "0000000001\n"},
            {"12        \nFrom: a@b\n\nx\n<?xml", "7\n>From y\nA: b\n", "0\n"}};
}

/// The first byte says how much more the file is said to hold than is given.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input = bytes_of(data, size);
    const QByteArray file = input.mid(1);
    const qint64 whole = file.size() + (input.isEmpty() ? 0 : quint8(input[0]));
    const message_head head = judge_message_head(file, whole);
    require(!head.problem.isEmpty() || (head.length > 0 && head.begin > 0 && head.begin + head.length <= whole));
    require(head.problem.isEmpty() || !head.problem.contains(QLatin1Char('\n')));

    // What a few bytes allow, more do not forbid.
    const message_head of_few = judge_message_head(file.left(file.size() / 2), whole);
    require(!of_few.problem.isEmpty() || head.problem.isEmpty());

    // Behind its count, what began as a message still does.
    if (head.problem.isEmpty()) {
        const QByteArray message = file.mid(head.begin, head.length);
        const QByteArray again = QByteArray::number(head.length) + '\n' + message;
        require(judge_message_head(again, again.size() + head.length - message.size()).problem.isEmpty());
        require(!judge_message_head(again, again.size() - message.size()).problem.isEmpty());
    }
    return 0;
}
