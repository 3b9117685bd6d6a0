#pragma once

#include "host/verify/copy_pairs.h"

#include <QDate>
#include <QStringList>

#include <map>
#include <vector>

/// A real directory "Apple_Mail_Extractor_<user>_<MM-dd-yyyy>" in which the plug-in put the copies of a user's mail.
struct dated_folder
{
    QDate date;
    QByteArray path; ///< relative to the result
};

/// Returns the dated folders of a result by user, each user's newest first.
std::map<QByteArray, std::vector<dated_folder>> find_dated_folders(const QByteArray& result);

/// Which copies in a result belong to which Mail directories of a source.
struct copy_assignment
{
    std::vector<copied_user> users; ///< each with a Mail directory in the source
    QStringList notes; ///< one line for each copy that is left out: an older one, or one of a user the source lacks
};

/// Assigns each user the newest of his dated folders. A user of the source without one takes part, with no copy, when
/// `users_of_run` names it or, with `unnamed_users`, when its name is not UTF-8 and cannot stand there. Paths absolute.
copy_assignment assign_copies(const QByteArray& source, const QByteArray& result, const QStringList& users_of_run,
                              bool unnamed_users);
