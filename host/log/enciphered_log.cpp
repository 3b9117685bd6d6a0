#include "host/log/enciphered_log.h"

#include "support/shared_texts.h"

#include <QIODevice>

namespace {

constexpr QByteArrayView record_marker(shared_texts::record_marker.data(), shared_texts::record_marker.size());
constexpr qint64 chunk_size = 65'536;
// A log line has some hundred bytes; what is so long is no line, and reading on would fill the memory.
constexpr qsizetype longest_record = qsizetype(1) << 20;
constexpr qsizetype shortest_ciphertext = 3;

struct deciphered
{
    QByteArray text;
    QString problem;
};

deciphered decipher(encryptor_string& cipher, const QByteArray& record)
{
    const auto decoded = QByteArray::fromBase64Encoding(record, QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded) {
        return {{}, QStringLiteral("damaged: not base64")};
    }
    if (decoded.decoded.size() < shortest_ciphertext) {
        return {{}, QStringLiteral("truncated: too short for a ciphertext")};
    }
    const QByteArray text = cipher.decryptToByteArray(decoded.decoded);
    switch (cipher.last_error()) {
    case encryptor_string::error::unknown_version:
        return {{}, QStringLiteral("unknown version of the cipher")};
    case encryptor_string::error::integrity_failed:
        return {{}, QStringLiteral("damaged: the integrity check failed")};
    case encryptor_string::error::no_key_set:
        return {{}, QStringLiteral("no key")};
    case encryptor_string::error::no_error:
        break;
    }
    // The log never enciphers an empty line, so this is a compressed text that does not unpack.
    return {text, text.isEmpty() ? QStringLiteral("damaged: holds no text") : QString()};
}

} // namespace

enciphered_log::enciphered_log(QIODevice& log) : device(log) {}

bool enciphered_log::next(record& found)
{
    QByteArray ciphertext;
    QString problem;
    if (!read_ciphertext(ciphertext, problem)) {
        return false;
    }
    found = {++count, {}, problem};
    if (problem.isEmpty()) {
        deciphered result = decipher(cipher, ciphertext);
        found.text = std::move(result.text);
        found.problem = std::move(result.problem);
    }
    return true;
}

bool enciphered_log::read_ciphertext(QByteArray& ciphertext, QString& problem)
{
    bool too_long = false;
    for (qsizetype searched = begin;;) {
        const qsizetype marker = buffer.indexOf(record_marker, searched);
        if (marker >= 0) {
            ciphertext = buffer.mid(begin, marker - begin);
            begin = marker + record_marker.size();
            break;
        }
        // The marker may straddle the end of what is read so far.
        searched = std::max(begin, buffer.size() - (record_marker.size() - 1));
        if (searched - begin > longest_record) {
            too_long = true;
            begin = searched;
        }
        buffer.remove(0, begin);
        searched -= begin;
        begin = 0;
        const QByteArray chunk = device.read(chunk_size);
        if (chunk.isEmpty()) {
            const QByteArray rest = std::exchange(buffer, {}).trimmed();
            if (rest.isEmpty() && !too_long) {
                return false;
            }
            problem = QStringLiteral("truncated: the log ends before the record does");
            return true;
        }
        buffer += chunk;
    }
    if (too_long || ciphertext.size() > longest_record) {
        problem = QStringLiteral("longer than %1 MiB").arg(longest_record >> 20);
    }
    return true;
}
