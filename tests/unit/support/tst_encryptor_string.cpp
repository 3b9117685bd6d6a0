#include "support/encryptor_string.h"

#include <QCryptographicHash>
#include <QSet>
#include <QTest>

using error = encryptor_string::error;

namespace {

enum flag
{
    compressed = 1,
    checksummed = 2,
    hashed = 4
};

// The format, worked out here a second time and without the class.
constexpr std::array<uchar, 8> key{0xF1, 0x28, 0x5A, 0xE4, 0xB7, 0x61, 0x3C, 0x9D};

QByteArray checksum_of(const QByteArray& payload)
{
    const quint16 checksum = qChecksum(payload);
    return QByteArray(1, static_cast<char>(checksum >> 8)) + static_cast<char>(checksum & 0xFF);
}

QByteArray integrity_of(const QByteArray& payload, int flags)
{
    if (flags & checksummed) {
        return checksum_of(payload);
    }
    return flags & hashed ? QCryptographicHash::hash(payload, QCryptographicHash::Sha1) : QByteArray();
}

QByteArray enciphered(QByteArray body, int flags)
{
    uchar chain = 0;
    for (qsizetype i = 0; i < body.size(); ++i) {
        chain = static_cast<uchar>(chain ^ static_cast<uchar>(body[i]) ^ key[static_cast<size_t>(i % 8)]);
        body[i] = static_cast<char>(chain);
    }
    return QByteArray("\x03") + static_cast<char>(flags) + body;
}

QByteArray ciphertext_of(const QByteArray& plain, int flags, char first = '\xA5')
{
    const QByteArray payload = flags & compressed ? qCompress(plain, 9) : plain;
    return enciphered(QByteArray(1, first) + integrity_of(payload, flags) + payload, flags);
}

} // namespace

class tst_encryptor_string : public QObject
{
    Q_OBJECT

private slots:
    void deciphering_every_kind()
    {
        for (const int flags : {0, 1, 2, 3, 4, 5, 6}) { // both integrity flags: the checksum counts
            for (const QString& text : {QString(), QString("x"), QString::fromUtf8("J\u00FCrg \u2013 \U0001F4E7"),
                                        QString(70000, 'y'), QString("12345678")}) {
                const QByteArray ciphertext = ciphertext_of(text.toUtf8(), flags);
                encryptor_string cipher;
                QVERIFY2(cipher.decryptToByteArray(ciphertext) == text.toUtf8(), qPrintable(QString::number(flags)));
                QCOMPARE(cipher.decryptToString(ciphertext), text);
                QCOMPARE(cipher.decryptToString(QString::fromLatin1(ciphertext.toBase64())), text);
                QCOMPARE(cipher.last_error(), error::no_error);
            }
        }
    }

    void enciphering()
    {
        QByteArray random;
        for (uint i = 0; random.size() < 70000; ++i) {
            random += QCryptographicHash::hash(QByteArray::number(i), QCryptographicHash::Sha1);
        }
        for (const auto& [plain, flags] : {std::pair(QByteArray(""), int(checksummed)),
                                           {"START", checksummed},
                                           {QByteArray(70000, 'x'), compressed | checksummed},
                                           {random, checksummed}}) {
            const QByteArray ciphertext = encryptor_string().encryptToByteArray(plain);
            const char first = static_cast<char>(static_cast<uchar>(ciphertext.at(2)) ^ key[0]);
            QVERIFY(ciphertext == ciphertext_of(plain, flags, first));
            QVERIFY(encryptor_string().decryptToByteArray(encryptor_string().encryptToString(plain)) == plain);
        }
        const QByteArray letter = encryptor_string().encryptToByteArray(QString::fromUtf8("\u00FC"));
        QCOMPARE(encryptor_string().decryptToByteArray(letter), "\xC3\xBC");
    }

    void equal_texts_give_different_ciphertexts()
    {
        QSet<QByteArray> ciphertexts;
        for (int i = 0; i < 20; ++i) {
            ciphertexts.insert(encryptor_string().encryptToByteArray(QByteArray("START")));
            QTest::qSleep(2);
        }
        QVERIFY2(ciphertexts.size() > 10, qPrintable(QString::number(ciphertexts.size())));
    }

    void any_changed_byte_is_noticed()
    {
        for (const int flags : {int(checksummed), int(hashed), compressed | checksummed}) {
            const QByteArray ciphertext = ciphertext_of("a text", flags);
            for (qsizetype i = 2; i < ciphertext.size(); ++i) {
                QByteArray damaged = ciphertext;
                damaged[i] = static_cast<char>(damaged[i] ^ 0x10);
                encryptor_string cipher;
                QVERIFY2(cipher.decryptToByteArray(damaged).isEmpty(), qPrintable(QString::number(i)));
                QCOMPARE(cipher.last_error(), error::integrity_failed);
                QVERIFY2(encryptor_string().decryptToByteArray(ciphertext.left(i)).isEmpty(), "cut off");
            }
        }
    }

    void what_is_no_ciphertext()
    {
        encryptor_string cipher;
        const auto check = [&cipher](const QByteArray& ciphertext, error reason) {
            QVERIFY(cipher.decryptToByteArray(ciphertext).isEmpty());
            QCOMPARE(cipher.last_error(), reason);
        };
        QTest::ignoreMessage(QtWarningMsg, "Invalid version or not a cyphertext.");
        check(QByteArray("\x04\x00 text", 7), error::unknown_version);
        for (const char* too_short : {"", "\x04", "\x03\x02"}) {
            check(too_short, error::unknown_version);
        }
        // Room for the random byte, not for what the flags promise.
        check(enciphered("rr", checksummed), error::integrity_failed);
        check(enciphered(QByteArray(20, 'r'), hashed), error::integrity_failed);
        // Lengths that lie.
        const QByteArray stream = qCompress(QByteArray(1000, 'x')).mid(4);
        for (const QByteArray& payload : {QByteArray(), QByteArray("\x7F\xFF"), QByteArray("\x7F\xFF\xFF\xFF"),
                                          QByteArray("\xFF\xFF\xFF\xFF") + stream}) {
            check(enciphered("r" + checksum_of(payload) + payload, compressed | checksummed), error::no_error);
        }
        QCOMPARE(cipher.decryptToString(ciphertext_of("text", checksummed)), "text");
    }
};

QTEST_MAIN(tst_encryptor_string)
#include "tst_encryptor_string.moc"
