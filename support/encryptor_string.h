#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// Enciphers and deciphers the records of an enciphered debug log with one fixed key.
///
/// It keeps casual readers out and notices damage; it is no strong cryptography. Failures are told by an empty result
/// and last_error(); nothing is thrown. An object is used by one thread.
class encryptor_string
{
public:
    enum class compression_mode
    {
        automatic, ///< compress when that makes the data smaller
        always,
        never
    };
    enum class protection_mode
    {
        none,
        checksum,
        hash
    };
    enum class error
    {
        no_error,
        no_key_set,
        unknown_version,
        integrity_failed
    };

    /// Sets the key and seeds the C library's random generator from the clock.
    encryptor_string();

    /// Returns the byte form of the plaintext's ciphertext.
    QByteArray encryptToByteArray(QByteArray plaintext);
    /// Returns the byte form, of the UTF-8 bytes of the text.
    QByteArray encryptToByteArray(const QString& plaintext);
    /// Returns the base64 text form, of the UTF-8 bytes of the text.
    QString encryptToString(const QString& plaintext);
    /// Returns the base64 text form.
    QString encryptToString(QByteArray plaintext);

    /// Deciphers a byte form; empty on failure. Input of fewer than 3 bytes leaves last_error() as it was.
    QByteArray decryptToByteArray(QByteArray cypher);
    /// Deciphers a base64 text form; empty on failure.
    QByteArray decryptToByteArray(const QString& cyphertext);
    /// Deciphers a base64 text form and reads the result as UTF-8; empty on failure.
    QString decryptToString(const QString& cyphertext);
    /// Deciphers a byte form and reads the result as UTF-8; empty on failure.
    QString decryptToString(QByteArray cypher);

    /// Returns how the last operation ended.
    error last_error() const { return last_error_state; }

private:
    void splitKey();

    quint64 key = 0;
    QList<signed char> key_parts;
    compression_mode compression = compression_mode::automatic;
    protection_mode protection = protection_mode::checksum;
    error last_error_state = error::no_error;
};
