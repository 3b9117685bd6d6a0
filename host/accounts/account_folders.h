#pragma once

#include "host/accounts/account_record.h"
#include "host/accounts/folder_extents.h"
#include "host/files/content_place.h"

#include <QByteArray>
#include <QStringList>

#include <vector>

/// A folder of a user's Mail version directory: an account's, as far as its name tells, or another.
struct account_folder_found
{
    QString name; ///< as display_text shows it
    bool is_account = false;
    QString identifier; ///< in upper case; empty for a folder that is named otherwise
    QString type;       ///< in plain words where the name tells it; else empty
    QString login;      ///< what stands between the prefix and the server; empty when the name does not tell
    QString server;     ///< behind the last "@"; the same
    bool holds_quote = false;
    account_place place;
};

/// Finds the folders in every Mail version directory of a user, oldest version first. No link is followed.
/// What could not be looked at is appended to `problems`. Content is read where `copy_of` knows it. What lies in a
/// folder is taken from `extents` (which may be absent) as far as they know it.
std::vector<account_folder_found> find_account_folders(const QByteArray& source, const QByteArray& user,
                                                       const content_place& copy_of, const folder_extents* extents,
                                                       QStringList& problems);
