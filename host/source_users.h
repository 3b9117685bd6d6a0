#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// One user of a source, as a run sees him.
struct source_user
{
    QString name;
    bool is_reachable = true;        ///< false when the directory's name is not UTF-8: no path of text leads to it
    QString mail_directory;          ///< empty when there is none
    QStringList newer_mail_versions; ///< version directories above "V9", newest first
};

/// Returns the users of a source, sorted by name: every directory below "Users/" but hidden ones and "Shared". Empty
/// when there is no such directory.
QList<source_user> list_source_users(const QString& source_root);
