#pragma once

#include "host/files/file_amount.h"
#include "host/source/source_look.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <vector>

/// The users of a source, as far as they could be found.
struct user_names
{
    std::vector<QByteArray> names;       ///< sorted; every directory below "Users/" but hidden ones and "Shared"
    std::optional<blocked_look> blocked; ///< why there may be more of them
};

/// One user of a source, as a run sees him.
struct source_user
{
    QString name;
    bool is_reachable = true; ///< false when the directory's name is not UTF-8: no path of text leads to it
    presence mail_directory = presence::absent;
    QStringList newer_mail_versions;   ///< version directories above "V9", newest first
    file_amount expected_copies;       ///< what a run copies of his mail; nothing unless it was forecast
    std::vector<blocked_look> blocked; ///< what could not be looked at on the way to his mail and his account stores
};

/// The users of a source with what a run has to know of them.
struct source_users
{
    QList<source_user> users;            ///< sorted by name
    std::optional<blocked_look> blocked; ///< why there may be more of them
};

/// Returns the names of the source's users. An entry of "Users" of which nothing can be known counts as one: a user
/// must not be lost for want of a permission. Here and in the other functions, access times stay as they are.
user_names find_users(const QByteArray& source);

/// Returns the Mail directory of a user, relative to the source, whether or not it exists.
QByteArray mail_directory_of(const QByteArray& user);

/// Returns the folder of a user's account stores, relative to the source, whether or not it exists.
QByteArray account_folder_of(const QByteArray& user);

/// Returns the Mail directories of users as paths.
std::vector<QByteArray> mail_directories_of(const QByteArray& source, const std::vector<QByteArray>& users);

/// Returns what a run has to know of a user whose home is there, or may be. Of a damaged account store it says so, too.
source_user look_at_user(const QByteArray& source, const QByteArray& name);

/// Returns the users of a source with what a run has to know of them.
source_users list_source_users(const QByteArray& source);
