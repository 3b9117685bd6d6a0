#include "support/encryptor_string.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QLatin1String>
#include <QtDebug>
#include <QtEndian>

#include <cstdlib>

namespace {

// The one key of all enciphered logs; whoever changes it can no longer read the logs written before.
constexpr quint64 log_cipher_key = 0x9D3C61B7E45A28F1ULL;

constexpr qsizetype key_length = 8;
constexpr char ciphertext_version = 3;
constexpr unsigned char flag_compressed = 0x01;
constexpr unsigned char flag_checksum = 0x02;
constexpr unsigned char flag_hash = 0x04;
constexpr qsizetype header_length = 2;
constexpr qsizetype checksum_length = 2;
constexpr qsizetype hash_length = 20;

// Deflate cannot expand by more than this factor, so a larger declared length is a lie; and no log line comes near the
// absolute limit. Memory is asked for by the declared length, before anything else can be checked.
constexpr quint64 largest_expansion = 1032;
constexpr quint64 largest_uncompressed = 256ULL * 1024 * 1024;
constexpr qsizetype length_field_size = 4;

QByteArray checksum_of(QByteArrayView payload)
{
    QByteArray checksum(checksum_length, '\0');
    qToBigEndian(qChecksum(payload, Qt::ChecksumIso3309), checksum.data());
    return checksum;
}

QByteArray hash_of(QByteArrayView payload)
{
    return QCryptographicHash::hash(payload, QCryptographicHash::Sha1);
}

/// XORs every byte with its key part and the enciphered byte before it.
void apply_chain(QByteArray& body, const QList<signed char>& key_parts, bool enciphering)
{
    unsigned char previous = 0;
    for (qsizetype i = 0; i < body.size(); ++i) {
        const auto before = static_cast<unsigned char>(body[i]);
        const auto part = static_cast<unsigned char>(key_parts[i % key_length]);
        const auto after = static_cast<unsigned char>(before ^ part ^ previous);
        body[i] = static_cast<char>(after);
        previous = enciphering ? after : before;
    }
}

/// Returns the uncompressed data; empty when the data is damaged or claims a length that it cannot have.
QByteArray uncompressed(const QByteArray& payload)
{
    if (payload.size() <= length_field_size) {
        return {};
    }
    const quint64 declared = qFromBigEndian<quint32>(payload.constData());
    const auto stream_length = static_cast<quint64>(payload.size() - length_field_size);
    if (declared > stream_length * largest_expansion || declared > largest_uncompressed) {
        return {};
    }
    return qUncompress(payload);
}

} // namespace

encryptor_string::encryptor_string() : key(log_cipher_key)
{
    std::srand(static_cast<unsigned>(QDateTime::currentMSecsSinceEpoch() & 0xFFFF));
    splitKey();
}

void encryptor_string::splitKey()
{
    key_parts.resize(key_length);
    for (qsizetype i = 0; i < key_length; ++i) {
        key_parts[i] = static_cast<signed char>((key >> (8 * i)) & 0xFF);
    }
}

QByteArray encryptor_string::encryptToByteArray(QByteArray plaintext)
{
    if (key_parts.isEmpty()) {
        qWarning() << "No key set.";
        last_error_state = error::no_key_set;
        return {};
    }

    QByteArray payload = plaintext;
    unsigned char flags = 0;
    if (compression != compression_mode::never) {
        QByteArray compressed = qCompress(payload, 9);
        if (compression == compression_mode::always || compressed.size() < payload.size()) {
            payload = std::move(compressed);
            flags |= flag_compressed;
        }
    }

    QByteArray integrity;
    if (protection == protection_mode::hash) {
        integrity = hash_of(payload);
        flags |= flag_hash;
    } else if (protection == protection_mode::checksum) {
        integrity = checksum_of(payload);
        flags |= flag_checksum;
    }

    QByteArray body;
    body.reserve(1 + integrity.size() + payload.size());
    body.append(static_cast<char>(std::rand() & 0xFF));
    body.append(integrity);
    body.append(payload);
    apply_chain(body, key_parts, true);

    last_error_state = error::no_error;
    return QByteArray(1, ciphertext_version) + static_cast<char>(flags) + body;
}

QByteArray encryptor_string::encryptToByteArray(const QString& plaintext)
{
    return encryptToByteArray(plaintext.toUtf8());
}

QString encryptor_string::encryptToString(const QString& plaintext)
{
    return encryptToString(plaintext.toUtf8());
}

QString encryptor_string::encryptToString(QByteArray plaintext)
{
    return QString::fromLatin1(encryptToByteArray(std::move(plaintext)).toBase64());
}

QByteArray encryptor_string::decryptToByteArray(QByteArray cypher)
{
    if (key_parts.isEmpty()) {
        qWarning() << "No key set.";
        last_error_state = error::no_key_set;
        return {};
    }
    if (cypher.size() <= header_length) {
        return {};
    }
    if (cypher[0] != ciphertext_version) {
        last_error_state = error::unknown_version;
        qWarning() << "Invalid version or not a cyphertext.";
        return {};
    }

    const auto flags = static_cast<unsigned char>(cypher[1]);
    QByteArray body = cypher.mid(header_length);
    apply_chain(body, key_parts, false);
    body.remove(0, 1);

    qsizetype integrity_length = 0;
    if (flags & flag_checksum) {
        integrity_length = checksum_length;
    } else if (flags & flag_hash) {
        integrity_length = hash_length;
    }
    if (integrity_length > 0) {
        const QByteArray stored = body.left(integrity_length);
        body.remove(0, integrity_length);
        const bool by_checksum = integrity_length == checksum_length;
        if (stored.size() < integrity_length || stored != (by_checksum ? checksum_of(body) : hash_of(body))) {
            last_error_state = error::integrity_failed;
            return {};
        }
    }

    if (flags & flag_compressed) {
        body = uncompressed(body);
    }
    last_error_state = error::no_error;
    return body;
}

QByteArray encryptor_string::decryptToByteArray(const QString& cyphertext)
{
    return decryptToByteArray(QByteArray::fromBase64(cyphertext.toLatin1()));
}

QString encryptor_string::decryptToString(const QString& cyphertext)
{
    return QString::fromUtf8(decryptToByteArray(cyphertext));
}

QString encryptor_string::decryptToString(QByteArray cypher)
{
    return QString::fromUtf8(decryptToByteArray(std::move(cypher)));
}
