#pragma once

#include "host/completeness/emptied_parts.h"
#include "host/files/content_place.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

/// One message on disk. "7.emlx" and "7.partial.emlx" side by side are one message. There may be millions.
struct mail_file
{
    static constexpr quint32 most_directories = (1U << 29U) - 1;

    qint64 number = -1;         ///< by which the index knows it; -1 when the file's name is no number
    qint32 mailbox = 0;         ///< position in mail_files::mailboxes
    qint32 named = -1;          ///< position in mail_files::names; -1 when the name follows from number and form
    qint32 judgement = 0;       ///< see absent() and problem()
    quint32 directory : 29 = 0; ///< position in mail_files::directories
    bool is_partial : 1 = false;
    bool is_pair : 1 = false;     ///< both forms are there
    bool is_in_place : 1 = false; ///< lies in the folder that its number asks for

    bool is_readable() const { return judgement >= 0; }
    /// Returns how many attachments are neither in it nor beside it; 0 for one that is not readable as a message.
    qint32 absent() const { return std::max(judgement, 0); }
    /// Returns the position in mail_files::problems of why it is not readable as a message.
    std::size_t problem() const { return ~std::size_t(judgement); }
};

/// A folder that is a mailbox, or holds messages outside of any.
struct mailbox_folder
{
    QByteArray account;      ///< the account's folder
    QList<QByteArray> names; ///< of the mailboxes down to this one, in comparable form
};

/// Something that could not be looked at.
struct walk_note
{
    QByteArray path; ///< below the root
    QString reason;
};

/// An attachment that a message names and nothing on disk holds.
struct absent_attachment
{
    const mailbox_folder& mailbox;
    QByteArray path; ///< of the message, below the root
    emptied_part part;
};

/// What is looked for in a tree of accounts, and who is told what.
struct mail_file_search
{
    std::function<bool(const QByteArray& folder)> is_account;       ///< of the folders of the root
    std::function<void(const absent_attachment& absent)> on_absent; ///< gets each absent attachment
    std::function<bool()> cancelled;                                ///< true ends the search
    content_place copy_of = {};                                     ///< where messages need not be read in the tree
    content_knowledge begins_as_message = {};                       ///< those whose beginning need not be read at all
    std::function<void(qint64 messages)> looked_into = {};          ///< a directory's messages at a time; may be empty
    qint64 most_expected = 0; ///< messages for which room is made beforehand, which takes none until it is used
};

/// The messages of a tree of accounts.
struct mail_files
{
    QByteArray root;
    QList<QByteArray> accounts; ///< folders directly in the root that may be accounts
    std::vector<mailbox_folder> mailboxes;
    std::vector<mail_file> files;
    qint64 seen = 0;                     ///< names of messages met, both of a pair
    std::vector<QByteArray> directories; ///< below the root
    std::vector<QByteArray> names;
    std::vector<QString> problems; ///< why files are not readable, each reason once
    std::vector<walk_note> notes;
    std::vector<QByteArray> links; ///< below the root, not followed; messages that are links are not among them

    /// Returns the path of a message below the root; of a pair, that of the form that was read.
    QByteArray path_of(const mail_file& file) const;
};

/// Finds every message below the accounts' folders of `root`. Each is opened and its beginning judged; only partial
/// ones are read on, as many bytes as messages without attachments may have. No link is followed below the root. A
/// cancelled search returns what was found so far.
mail_files find_mail_files(const QByteArray& root, const mail_file_search& search);
