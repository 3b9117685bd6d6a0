#include "host/completeness/judged_message.h"

#include "host/completeness/message_head.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

#include <unistd.h>

namespace {

constexpr qint64 longest_partial_message = qint64(256) << 20;
constexpr std::size_t piece_size = 65'536;

/// Fills the buffer as far as the file goes; nothing, with errno set, when reading fails.
std::optional<qsizetype> fill(int descriptor, char* buffer, qsizetype size)
{
    qsizetype filled = 0;
    while (filled < size) {
        const ssize_t got = ::read(descriptor, buffer + filled, std::size_t(size - filled));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return std::nullopt;
        }
        if (got == 0) {
            break;
        }
        filled += got;
    }
    return filled;
}

QString reading_failure()
{
    return QStringLiteral("cannot be read: ") + system_error_text(errno);
}

QString ended_early(qint64 end, qint64 size)
{
    return QStringLiteral("cannot be read: ended at byte %1 of %2").arg(end).arg(size);
}

} // namespace

judged_message judge_message_file(const quiet_file& file, bool is_partial)
{
    if (!file.error.isEmpty()) {
        return {file.error, {}, {}, false};
    }
    std::array<char, piece_size> buffer; // NOLINT: filled before it is read
    auto filled = fill(file.descriptor.get(), buffer.data(), head_size);
    if (!filled) {
        return {reading_failure(), {}, {}, false};
    }
    if (const qint64 size = file.facts.size; *filled < std::min<qint64>(head_size, size)) {
        return {ended_early(*filled, size), {}, {}, false};
    }
    const message_head head = judge_message_head(QByteArrayView(buffer.data(), *filled), file.facts.size);
    if (!head.problem.isEmpty() || !is_partial) {
        return {head.problem, {}, {}, true};
    }
    emptied_part_finder finder;
    const qint64 wanted = std::min(head.length, longest_partial_message);
    qint64 left = wanted;
    QByteArrayView piece = QByteArrayView(buffer.data(), *filled).sliced(qsizetype(head.begin));
    while (left > 0 && !piece.isEmpty()) {
        piece = piece.first(qsizetype(std::min<qint64>(piece.size(), left)));
        finder.add(piece);
        left -= piece.size();
        filled = left > 0 ? fill(file.descriptor.get(), buffer.data(), buffer.size()) : 0;
        if (!filled) {
            return {reading_failure(), {}, {}, false};
        }
        piece = QByteArrayView(buffer.data(), *filled);
    }
    if (left > 0) {
        return {ended_early(head.begin + wanted - left, file.facts.size), {}, {}, false};
    }
    judged_message judged{{}, finder.finish(), {}, true};
    if (head.length > longest_partial_message || !finder.is_complete()) {
        judged.note = QStringLiteral("has more parts than were looked at for absent attachments");
    }
    return judged;
}
