#include "support/bulk/stream_hash.h"

#include <openssl/evp.h>

#include <stdexcept>

struct stream_hash::digest_state
{
    // Fetched once: looking the algorithm up by name for every file costs more than hashing a small one.
    std::unique_ptr<EVP_MD, decltype(&EVP_MD_free)> algorithm{EVP_MD_fetch(nullptr, "SHA256", nullptr), &EVP_MD_free};
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
};

stream_hash::stream_hash() : state(std::make_unique<digest_state>())
{
    if (!state->algorithm || !state->context) {
        throw std::runtime_error("libcrypto offers no SHA-256");
    }
}

stream_hash::~stream_hash() = default;

void stream_hash::begin()
{
    EVP_DigestInit_ex2(state->context.get(), state->algorithm.get(), nullptr);
}

void stream_hash::take(const char* bytes, std::size_t count)
{
    EVP_DigestUpdate(state->context.get(), bytes, count);
}

QByteArray stream_hash::end()
{
    constexpr qsizetype hash_bytes = 32;
    QByteArray hash(hash_bytes, Qt::Uninitialized);
    EVP_DigestFinal_ex(state->context.get(), reinterpret_cast<unsigned char*>(hash.data()), nullptr);
    return hash;
}
