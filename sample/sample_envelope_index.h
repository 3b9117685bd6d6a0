#pragma once

#include "sample/sample_writer.h"

#include <optional>

/// One mailbox as the index of a Mail version directory lists it.
struct indexed_mailbox
{
    QString url;
    int source = -1; // position of the mailbox whose messages this one labels; -1 for an ordinary one
};

/// One message as the index lists it.
struct indexed_message
{
    qint64 number;
    int mailbox;    // position in the list of mailboxes
    QString sender; // address; empty for none
    QString sender_name;
    QString subject; // as the message's header has it
    qint64 received; // seconds since 1970
    std::optional<qint64> sent;
    qint64 flags;
    bool deleted = false;
    QList<int> labels = {}; // positions of mailboxes
};

/// The two forms of the index that a sample has.
enum class index_form
{
    of_10_13, // subjects with a normalised form, threads
    of_13     // message ids in a table of their own
};

struct envelope_index
{
    index_form form;
    QString store; // identifier of the store, as its folders on disk bear it
    QList<indexed_mailbox> mailboxes;
    QList<indexed_message> messages; // by ascending numbers
};

/// Writes "Envelope Index" with its "-wal" and "-shm" into the directory; the newest messages are in the log only.
/// False, with one line in `error`, when the database could not be made.
bool write_envelope_index(sample_writer& writer, const QString& directory, const envelope_index& index, QString& error);
