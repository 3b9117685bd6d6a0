#pragma once

#include <QByteArray>

#include <optional>

/// What the name of a message file says.
struct message_name
{
    qint64 number = -1; ///< by which the index knows the message; -1 when the name is no number
    bool is_partial = false;
    bool is_usual = false; ///< usual_name() of number and form
};

/// Reads a file's name, its endings in whatever case; nothing for one that no message has.
std::optional<message_name> read_message_name(const QByteArray& name);

/// Returns the name that Mail gives a message: "7.emlx", "7.partial.emlx".
QByteArray usual_name(qint64 number, bool is_partial);

/// True for Finder's leavings and the second halves of files on foreign disks, which hold no mail.
bool is_foreign_name(const QByteArray& name);
