#include "host/completeness/message_head.h"

#include <algorithm>

namespace {

// The mail program pads to ten characters; a count that a 64-bit number holds has at most nineteen.
constexpr qsizetype longest_count_line = 64;
constexpr qsizetype most_digits = 18;

bool is_digit(char character)
{
    return character >= '0' && character <= '9';
}

/// Header names are printable ASCII without a colon; blanks before the colon are tolerated.
bool begins_with_header_field(QByteArrayView text)
{
    const auto is_name_character = [](char c) { return c > ' ' && c <= '~' && c != ':'; };
    const auto end = std::find_if_not(text.begin(), text.end(), is_name_character);
    const auto colon = std::find_if_not(end, text.end(), [](char c) { return c == ' ' || c == '\t'; });
    return end != text.begin() && colon != text.end() && *colon == ':';
}

QByteArrayView after_line(QByteArrayView text)
{
    const qsizetype end = text.indexOf('\n');
    return end < 0 ? QByteArrayView() : text.sliced(end + 1);
}

bool begins_with_header(QByteArrayView message)
{
    // Imported messages may still carry the line that separates them in a mailbox file.
    const bool separator = message.startsWith(QByteArrayView("From ")) || message.startsWith(QByteArrayView(">From "));
    return begins_with_header_field(separator ? after_line(message) : message);
}

} // namespace

message_head judge_message_head(QByteArrayView beginning, qint64 file_size)
{
    message_head head;
    if (file_size == 0) {
        head.problem = QStringLiteral("is empty");
        return head;
    }
    const qsizetype line_end = beginning.first(std::min(beginning.size(), longest_count_line)).indexOf('\n');
    const QByteArrayView count = beginning.first(std::max<qsizetype>(line_end, 0)).trimmed();
    const bool is_number = std::all_of(count.begin(), count.end(), is_digit);
    if (count.isEmpty() || !is_number || count.size() > most_digits) {
        head.problem = QStringLiteral("does not begin with a byte count");
        return head;
    }
    head.begin = line_end + 1;
    head.length = count.toLongLong();
    if (head.length > file_size - head.begin) {
        head.problem = QStringLiteral("is cut: %1 bytes of message are announced, %2 are there")
                           .arg(head.length)
                           .arg(file_size - head.begin);
    } else if (head.length == 0) {
        head.problem = QStringLiteral("holds a message of no bytes");
    } else {
        const QByteArrayView rest = beginning.sliced(head.begin);
        const qsizetype length = std::min(rest.size(), qsizetype(std::min<qint64>(head.length, head_size)));
        if (!begins_with_header(rest.first(length))) {
            head.problem = QStringLiteral("does not begin as a message does");
        }
    }
    return head;
}
