#pragma once

#include "host/result/result_paths.h"
#include "host/verify/copy_pairs.h"

#include <QStringList>

#include <vector>

/// Which copies in a result belong to which Mail directories of a source.
struct copy_assignment
{
    std::vector<copied_user> users;
    QStringList notes;    ///< one line for each copy that is left out, an older one
    QStringList problems; ///< why there may be users that nobody named
};

/// Assigns each user who has dated folders the newest of them. A user without one takes part, with no copy, when
/// `users_of_run` names it or, with `unnamed_users`, when its name in the source is not UTF-8 and cannot stand there.
/// `source` is absolute.
copy_assignment assign_copies(const QByteArray& source, const result_paths& result, const QStringList& users_of_run,
                              bool unnamed_users);
