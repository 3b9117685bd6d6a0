#include "support/encryptor_string.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

void discard_message(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& /*text*/) {}

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
    const QByteArray input = bytes_of(data, size);

    decipher(input);
    encryptor_string cipher;
    cipher.decryptToByteArray(QString::fromLatin1(input));
    require(cipher.decryptToByteArray(cipher.encryptToByteArray(input)) == input);
    return 0;
}
