#pragma once

#include <QByteArray>

#include <memory>

/// The SHA-256 of one stream of bytes after the other. Each thread wants one of its own.
class stream_hash
{
public:
    /// Throws std::runtime_error when libcrypto offers no SHA-256.
    stream_hash();
    ~stream_hash();
    Q_DISABLE_COPY_MOVE(stream_hash)

    /// Begins the next stream.
    void begin();
    /// Takes its next bytes.
    void take(const char* bytes, std::size_t count);
    /// Returns its hash, 32 bytes.
    QByteArray end();

private:
    struct digest_state;
    std::unique_ptr<digest_state> state;
};
