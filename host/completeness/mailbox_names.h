#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>

// Names of mailboxes are compared as bytes: UTF-8 in normalisation form C where they are UTF-8 of a length
// that a name can have, else as they are.

/// A mailbox as an address of Mail's index names it; nothing in it is ever used as a path.
struct mailbox_address
{
    QByteArray scheme;       ///< lower case: "imap", "ews", "pop", "local", "mailbox", or whatever stands there
    QByteArray user;         ///< decoded; empty where the address names none
    QByteArray host;         ///< decoded: an account's identifier, or a server
    QList<QByteArray> names; ///< from the outermost mailbox to the named one; empty for an account's root
};

/// Takes an address apart and decodes each part on its own, so that an encoded "/" stays within its name; as on disk,
/// it is then written ":". What is no address gives an empty scheme and the whole text as the only name.
mailbox_address parse_mailbox_address(const QByteArray& address);

/// Returns the name in the form in which names are compared.
QByteArray comparable_name(const QByteArray& name);

/// Returns the names joined by "/", "Archive/2019".
QByteArray mailbox_path(const QList<QByteArray>& names);

/// Returns a folder's name without ".mbox" or ".imapmbox"; nothing is taken from any other name.
QByteArray name_of_mailbox_folder(const QByteArray& folder);

/// True for the name of a folder that is a mailbox.
bool is_mailbox_folder(const QByteArray& folder);

/// Returns where in a mailbox' folder the mail program keeps the message of a number, with a slash before it: in
/// folders of the thousands' digits, the last one first.
QByteArray place_of_message(qint64 number);

/// Returns the account that an address names where no folder does: the identifier, or "user@host".
QByteArray account_of(const mailbox_address& address);

/// The account folders of a store, by their names in lower case.
using account_folders = QHash<QByteArray, QByteArray>;
/// Of several that differ in letter case alone, the first counts.
account_folders by_lower_case(const QList<QByteArray>& folders);

/// Returns the one of the account folders in which the mailboxes of an address lie, by identifier or by protocol, user
/// and server; empty when none fits.
QByteArray folder_of(const mailbox_address& address, const account_folders& folders);
