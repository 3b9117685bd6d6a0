#include "support/encryptor_string.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

/// Deciphers bytes and their text form, which must agree.
void decipher(const QByteArray& bytes)
{
    encryptor_string cipher;
    const QByteArray plain = cipher.decryptToByteArray(bytes);
    require(plain.isEmpty() || cipher.last_error() == encryptor_string::error::no_error);
    require(cipher.decryptToByteArray(QString::fromLatin1(bytes.toBase64())) == plain);
}

} // namespace

fuzz_plan plan()
{
    encryptor_string cipher;
    const QByteArray short_text = cipher.encryptToByteArray(QByteArray("a line"));
    const QByteArray long_text = cipher.encryptToByteArray(QByteArray(300, 'x'));
    return {512,
            {QByteArray("\x03\x00", 2), "\x03\x01", "\x03\x02", "\x03\x03", "\x03\x04", "\x03\x05"},
            {short_text, long_text, short_text.toBase64(), QByteArray("\x03\x01") + long_text.mid(2)}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input = bytes_of(data, size);

    decipher(input);
    encryptor_string cipher;
    cipher.decryptToByteArray(QString::fromLatin1(input));
    require(cipher.decryptToByteArray(cipher.encryptToByteArray(input)) == input);
    return 0;
}
