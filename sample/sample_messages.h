#pragma once

#include "sample/sample_random.h"

#include <QByteArray>
#include <QList>

struct sample_attachment
{
    QString name;
    int part; // number of the message part, which names the attachment's folder
    QByteArray content;
};

struct sample_message
{
    QByteArray emlx; // byte count line, message, property list
    bool partial;    // the attachments lie in files of their own and not in the message
    QList<sample_attachment> attachments;
    QString sender;
    QString subject;
    sample_time received;
    qint64 flags;
};

/// What a message is written for.
struct sample_message_context
{
    QString address; // of the account
    QString full_name;
    int first_year;
    int last_year;
    bool odd_names; // of attachments
};

/// Composes the message with this number: plain, with an HTML alternative, or with attachments inside or beside it.
sample_message compose_message(sample_random& random, const sample_message_context& context, qint64 number);
