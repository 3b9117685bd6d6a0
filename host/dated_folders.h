#pragma once

#include "host/copy_pairs.h"

#include <QString>
#include <QStringList>

#include <vector>

/// Which copies in a result belong to which Mail directories of a source.
struct copy_assignment
{
    std::vector<copied_user> users; ///< each with a Mail directory in the source
    QStringList notes; ///< one line for each copy that is left out: an older one, or one of a user the source lacks
};

/// Finds the dated folders "Apple_Mail_Extractor_<user>_<MM-dd-yyyy>" of a result; of several for one user the newest
/// date counts. A user of the source without one takes part, with no copy, when `users_of_run` names it. Paths
/// absolute.
copy_assignment assign_copies(const QByteArray& source, const QByteArray& result, const QStringList& users_of_run);
