#include "host/result/sums.h"

namespace {

constexpr qsizetype digest_digits = 64;
// No file system has such paths, and what is named is shown to people.
constexpr qsizetype longest_path = 1 << 16;

/// Undoes the escapes of a path; nothing for one that sums_line() does not write.
std::optional<QByteArray> without_escapes(const QByteArray& text)
{
    QByteArray path;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            path += text[i];
            continue;
        }
        const char escaped = i + 1 < text.size() ? text[++i] : '\0';
        if (escaped != '\\' && escaped != 'n' && escaped != 'r') {
            return std::nullopt;
        }
        path += escaped == 'n' ? '\n' : escaped == 'r' ? '\r' : '\\';
    }
    return path;
}

} // namespace

QByteArray sums_line(const sha256_digest& digest, QByteArray path)
{
    const bool escaped = path.contains('\\') || path.contains('\n') || path.contains('\r');
    if (escaped) {
        path.replace("\\", "\\\\").replace("\n", "\\n").replace("\r", "\\r");
    }
    return (escaped ? QByteArray("\\") : QByteArray()) + digest_to_hex(digest) + "  " + path + '\n';
}

std::optional<sum> sum_from_line(const QByteArray& line)
{
    const bool escaped = line.startsWith('\\');
    const QByteArray text = escaped ? line.mid(1) : line;
    const auto digest = digest_from_hex(text.first(std::min(text.size(), digest_digits)));
    if (!digest || text.mid(digest_digits, 2) != "  " || text.size() > longest_path) {
        return std::nullopt;
    }
    const QByteArray path = text.mid(digest_digits + 2);
    const auto plain = escaped ? without_escapes(path) : std::optional(path);
    return plain && !plain->isEmpty() ? std::optional(sum{*digest, *plain}) : std::nullopt;
}
