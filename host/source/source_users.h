#pragma once

#include "host/files/file_amount.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <vector>

/// One user of a source, as a run sees him.
struct source_user
{
    QString name;
    bool is_reachable = true; ///< false when the directory's name is not UTF-8: no path of text leads to it
    bool has_mail_directory = false;
    QStringList newer_mail_versions; ///< version directories above "V9", newest first
    file_amount expected_copies;     ///< what a run copies of his mail; nothing unless it was forecast
};

/// Returns the names of the source's users, sorted: every directory below "Users/" but hidden ones and "Shared". Empty
/// when there is no such directory. Here and in the other functions, access times stay as they are.
std::vector<QByteArray> find_users(const QByteArray& source);

/// Returns the Mail directory of a user, relative to the source, whether or not it exists.
QByteArray mail_directory_of(const QByteArray& user);

/// Returns the Mail directories of users as paths.
std::vector<QByteArray> mail_directories_of(const QByteArray& source, const std::vector<QByteArray>& users);

/// Returns the users of a source with what a run has to know of them, sorted by name.
QList<source_user> list_source_users(const QByteArray& source);
