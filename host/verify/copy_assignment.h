#pragma once

#include "host/result/result_paths.h"
#include "host/verify/copy_pairs.h"

#include <QStringList>

#include <vector>

/// Which copies in a result belong to which Mail directories of a source.
struct copy_assignment
{
    std::vector<copied_user> users; ///< each with a Mail directory in the source
    QStringList notes; ///< one line for each copy that is left out: an older one, or one of a user the source lacks
};

/// Assigns each user the newest of his dated folders. A user of the source without one takes part, with no copy, when
/// `users_of_run` names it or, with `unnamed_users`, when its name is not UTF-8 and cannot stand there. `source` is
/// absolute.
copy_assignment assign_copies(const QByteArray& source, const result_paths& result, const QStringList& users_of_run,
                              bool unnamed_users);
