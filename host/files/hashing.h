#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

using sha256_digest = std::array<unsigned char, 32>;

/// Returns a digest as 64 lower-case hexadecimal digits.
QByteArray digest_to_hex(const sha256_digest& digest);
/// Reads 64 hexadecimal digits; nothing for any other text.
std::optional<sha256_digest> digest_from_hex(QByteArrayView hex);

/// Hashes open files, one after the other; keeps its buffer between them, so that each thread wants one of its own.
class file_hasher
{
public:
    file_hasher();
    ~file_hasher();

    /// What hashing one file gave; `digest` is meaningful only when `error` is 0 and the file was not `stopped`.
    struct outcome
    {
        sha256_digest digest{};
        qint64 bytes = 0;     ///< bytes read
        int error = 0;        ///< errno of the read that failed
        bool stopped = false; ///< `cancelled` said so before the end
    };

    /// Reads a descriptor from its position to the end. `cancelled` is called with the bytes of each piece read and
    /// stops the reading by returning true. The descriptor stays open.
    outcome hash(int descriptor, const std::function<bool(qint64 bytes)>& cancelled);
    /// The same for who wants the bytes themselves: `take` gets each piece and stops the reading by returning true.
    outcome hash(int descriptor, const std::function<bool(const unsigned char* piece, qint64 bytes)>& take);

    /// Returns the digest of bytes in memory.
    sha256_digest hash(const QByteArray& bytes);

private:
    struct digest_state;
    std::unique_ptr<digest_state> state;
    QByteArray buffer;
};

/// Returns the hasher of this thread, for one file after the other; nothing that it calls may use it as well.
file_hasher& hasher_of_thread();

/// Returns the SHA-256 of a regular file, links not followed; nothing, with the reason in `error`, when it cannot be
/// read.
std::optional<sha256_digest> sha256_of_file(const QByteArray& path, QString& error);
/// The same; `cancelled` is called with the bytes of each piece read and ends it by returning true, as an error.
std::optional<sha256_digest> sha256_of_file(const QByteArray& path, QString& error,
                                            const std::function<bool(qint64 bytes)>& cancelled);
