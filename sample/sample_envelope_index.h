#pragma once

#include "sample/sample_writer.h"

/// One message as the index of a Mail version directory lists it.
struct indexed_message
{
    qint64 number;
    int mailbox; // position in the list of mailbox addresses
    QString sender;
    QString subject;
    qint64 received; // seconds since 1970
    qint64 flags;
};

/// Writes "Envelope Index" with its "-wal" and "-shm" into the directory; the newest messages are in the log only.
/// False, with one line in `error`, when the database could not be made.
bool write_envelope_index(sample_writer& writer, const QString& directory, const QStringList& mailbox_urls,
                          const QList<indexed_message>& messages, QString& error);
