#pragma once

#include "support/encryptor_string.h"

#include <QByteArray>
#include <QString>

class QIODevice;

/// Reads an enciphered debug log record by record, in memory that does not grow with the log.
class enciphered_log
{
public:
    /// One record: its text, or why there is none.
    struct record
    {
        qint64 number = 0; ///< counted from 1
        QByteArray text;   ///< UTF-8, without a line break at the end
        QString problem;   ///< empty when `text` holds
    };

    /// Reads from where the device stands.
    explicit enciphered_log(QIODevice& log);

    /// Reads the next record; false at the end of the log.
    bool next(record& found);

private:
    bool read_ciphertext(QByteArray& ciphertext, QString& problem);

    QIODevice& device;
    encryptor_string cipher;
    QByteArray buffer;
    qsizetype begin = 0; ///< where the unread part of the buffer begins
    qint64 count = 0;
};
