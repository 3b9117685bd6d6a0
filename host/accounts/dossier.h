#pragma once

#include "host/accounts/account_record.h"
#include "host/accounts/folder_extents.h"
#include "host/evidence/evidence_limits.h"
#include "host/files/content_place.h"

#include <QByteArray>
#include <QString>

#include <vector>

/// Whose accounts are wanted, and where.
struct dossier_request
{
    QByteArray source;             ///< root of the source
    std::vector<QByteArray> users; ///< names of directories below "Users"
    QString scratch;               ///< an existing directory outside the source, for copies of the stores
    std::function<bool()> cancelled = [] { return false; }; ///< true ends the work; what is there by then is returned
    content_place copy_of = {};                             ///< of files that need not be read in the source
    const folder_extents* extents = nullptr;                ///< of folders that need not be gone through; may be absent
};

/// Reads the account stores and looks at the account folders of each user. The source is only read; what cannot be
/// read is a problem of the dossier, never thrown.
account_dossier read_dossier(const dossier_request& request);
