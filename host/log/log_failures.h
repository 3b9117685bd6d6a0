#pragma once

#include <QString>
#include <QStringList>

/// The failures that a debug log tells.
struct log_failures
{
    qint64 count = 0;
    QStringList first; ///< the first of them, at most 100
    QString problem;   ///< why the log could not be read; empty when it could
};

/// Reads a debug log, plain or enciphered, from byte `offset` on. A failure is a line that holds "FAILED", and a record
/// that does not decipher.
log_failures read_log_failures(const QString& path, qint64 offset, bool enciphered);
