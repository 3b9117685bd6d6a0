#include "support/encryptor_string.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

void discard_message(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& /*text*/) {}

void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

/// Deciphers bytes and their text form, which must agree.
void decipher(const QByteArray& bytes)
{
    encryptor_string cipher;
    const QByteArray plain = cipher.decryptToByteArray(bytes);
    require(plain.isEmpty() || cipher.last_error() == encryptor_string::error::no_error);
    require(cipher.decryptToByteArray(QString::fromLatin1(bytes.toBase64())) == plain);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    [[maybe_unused]] static const QtMessageHandler previous = qInstallMessageHandler(discard_message);
    const QByteArray input(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));

    decipher(input);
    encryptor_string cipher;
    cipher.decryptToByteArray(QString::fromLatin1(input));
    require(cipher.decryptToByteArray(cipher.encryptToByteArray(input)) == input);
    return 0;
}
