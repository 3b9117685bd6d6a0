#pragma once

#include <QByteArray>
#include <QString>

/// What the beginning of a mail file says: a line with the number of bytes of the message, then the message, then a
/// property list.
struct message_head
{
    qint64 begin = 0;  ///< where the message begins in the file
    qint64 length = 0; ///< bytes of the message
    QString problem;   ///< why this is not readable as a message; empty when it is
};

/// The bytes of a file's beginning that tell whether it is a message.
inline constexpr qsizetype head_size = 4096;

/// Judges a mail file by its first bytes, of which `head_size` (or all there are) must be given, and its size: the
/// count must stand there and the file hold that many bytes, and they must begin as a header does. What follows the
/// message, be it damaged or absent, does not matter. Fewer bytes may make a problem of what is none, never the
/// reverse.
message_head judge_message_head(QByteArrayView beginning, qint64 file_size);
