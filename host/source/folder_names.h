#pragma once

#include <QByteArray>

/// How the folder of an account is named; `other` is a folder that names no account.
enum class folder_naming
{
    identifier,
    imap,
    pop,
    other
};

/// Tells the scheme of a folder name: an identifier is a UUID in either case, the others begin with "IMAP" or "POP".
folder_naming naming_of(const QByteArray& name);

/// True for "V" followed by digits only, as Mail's version directories are called.
bool is_version_name(const QByteArray& name);
