#include "host/completeness/emptied_parts.h"
#include "host/completeness/mailbox_names.h"
#include "host/completeness/message_head.h"
#include "tests/fuzz/fuzz_target.h"

#include <algorithm>

namespace {

/// Reads a message in pieces; what is found must not depend on their size.
QByteArray parts_of(const QByteArray& message, qsizetype piece)
{
    emptied_part_finder finder;
    for (qsizetype at = 0; at < message.size(); at += piece) {
        finder.add(QByteArrayView(message).sliced(at, std::min(piece, message.size() - at)));
    }
    QByteArray found;
    for (const emptied_part& part : finder.finish()) {
        require(!part.number.isEmpty() && part.length >= -1 && part.length != 0);
        found += part.number + ':' + QByteArray::number(part.length) + ' ';
    }
    return found;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = bytes_of(data, size);
    const message_head head =
        judge_message_head(QByteArrayView(bytes).first(std::min(bytes.size(), head_size)), bytes.size());
    require(!head.problem.isEmpty() || (head.length > 0 && head.begin + head.length <= bytes.size()));
    require(parts_of(bytes, 3) == parts_of(bytes, 4096));

    const mailbox_address address = parse_mailbox_address(bytes.left(bytes.indexOf('\n')));
    for (const QByteArray& name : address.names) {
        require(address.scheme.isEmpty() || !name.contains('/'));
    }
    folder_of(address, {"IMAP-a@b", "Mailboxes", account_of(address)});
    return 0;
}
