#include "host/files/hashing.h"

#include "host/files/quiet_reading.h"

#include <openssl/evp.h>

#include <cerrno>
#include <stdexcept>
#include <unistd.h>

namespace {

// Large enough that system calls do not count, small enough to stay in a core's cache.
constexpr qsizetype buffer_bytes = 262'144;

/// The values of hexadecimal digits by their characters; -1 for any other.
constexpr auto digit_values = [] {
    std::array<signed char, 256> values{};
    values.fill(-1);
    for (unsigned char i = 0; i < 16; ++i) {
        values[static_cast<unsigned char>("0123456789abcdef"[i])] = static_cast<signed char>(i);
        values[static_cast<unsigned char>("0123456789ABCDEF"[i])] = static_cast<signed char>(i);
    }
    return values;
}();

int digit_value(char digit)
{
    return digit_values[static_cast<unsigned char>(digit)];
}

} // namespace

struct file_hasher::digest_state
{
    // Fetched once: looking the algorithm up by name for every file costs more than hashing a small one.
    std::unique_ptr<EVP_MD, decltype(&EVP_MD_free)> algorithm{EVP_MD_fetch(nullptr, "SHA256", nullptr), &EVP_MD_free};
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
};

file_hasher::file_hasher() : state(std::make_unique<digest_state>())
{
    if (!state->algorithm || !state->context) {
        throw std::runtime_error("libcrypto offers no SHA-256");
    }
}

file_hasher::~file_hasher() = default;

file_hasher::outcome file_hasher::hash(int descriptor, const std::function<bool(qint64 bytes)>& cancelled)
{
    return hash(descriptor, [&cancelled](const unsigned char*, qint64 bytes) { return cancelled(bytes); });
}

file_hasher::outcome file_hasher::hash(int descriptor,
                                       const std::function<bool(const unsigned char* piece, qint64 bytes)>& take)
{
    outcome result;
    // Whoever hashes bytes in memory alone needs none; of one for a small file most is never touched.
    if (buffer.isEmpty()) {
        buffer = QByteArray(buffer_bytes, Qt::Uninitialized);
    }
    auto* const piece = reinterpret_cast<unsigned char*>(buffer.data());
    EVP_DigestInit_ex2(state->context.get(), state->algorithm.get(), nullptr);
    while (true) {
        const ssize_t got = ::read(descriptor, piece, buffer_bytes);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            result.error = errno;
            return result;
        }
        if (got == 0) {
            break;
        }
        EVP_DigestUpdate(state->context.get(), piece, static_cast<std::size_t>(got));
        result.bytes += got;
        if (take(piece, got)) {
            result.stopped = true;
            return result;
        }
    }
    EVP_DigestFinal_ex(state->context.get(), result.digest.data(), nullptr);
    return result;
}

sha256_digest file_hasher::hash(const QByteArray& bytes)
{
    sha256_digest digest{};
    EVP_DigestInit_ex2(state->context.get(), state->algorithm.get(), nullptr);
    EVP_DigestUpdate(state->context.get(), bytes.constData(), static_cast<std::size_t>(bytes.size()));
    EVP_DigestFinal_ex(state->context.get(), digest.data(), nullptr);
    return digest;
}

QByteArray digest_to_hex(const sha256_digest& digest)
{
    return QByteArray::fromRawData(reinterpret_cast<const char*>(digest.data()), static_cast<qsizetype>(digest.size()))
        .toHex();
}

std::optional<sha256_digest> digest_from_hex(QByteArrayView hex)
{
    sha256_digest digest{};
    if (hex.size() != 2 * static_cast<qsizetype>(digest.size())) {
        return std::nullopt;
    }
    const char* next = hex.data();
    for (unsigned char& byte : digest) {
        const int high = digit_value(*next++);
        const int low = digit_value(*next++);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        byte = static_cast<unsigned char>(high * 16 + low);
    }
    return digest;
}

file_hasher& hasher_of_thread()
{
    thread_local file_hasher hasher;
    return hasher;
}

std::optional<sha256_digest> sha256_of_file(const QByteArray& path, QString& error)
{
    return sha256_of_file(path, error, [](qint64) { return false; });
}

std::optional<sha256_digest> sha256_of_file(const QByteArray& path, QString& error,
                                            const std::function<bool(qint64 bytes)>& cancelled)
{
    const quiet_file file = quiet_open(path);
    if (!file.error.isEmpty()) {
        error = file.error;
        return std::nullopt;
    }
    const file_hasher::outcome result = hasher_of_thread().hash(file.descriptor.get(), cancelled);
    if (result.stopped) {
        error = QStringLiteral("cancelled");
        return std::nullopt;
    }
    if (result.error != 0) {
        error = QStringLiteral("at byte %1: %2").arg(QString::number(result.bytes), system_error_text(result.error));
        return std::nullopt;
    }
    if (result.bytes < file.facts.size) {
        error = QStringLiteral("ended at byte %1 of %2").arg(result.bytes).arg(file.facts.size);
        return std::nullopt;
    }
    return result.digest;
}
