#pragma once

#include "host/result/dated_folders.h"

#include <QString>

#include <optional>

/// Where the folders that rows name really lie. The plug-in takes the date anew for each row, so that the rows of a run
/// across midnight may name a dated folder of which there is only the one of the day before.
class row_folders
{
public:
    /// Looks which dated folders there are.
    explicit row_folders(const result_paths& result);

    /// Returns the folder, written as rows write it, where the copies lie of which a row of `user` names `row_folder`:
    /// the same where it exists or cannot be looked at; else the same below a dated folder of the user's, that of the
    /// nearest day; nothing when it is nowhere.
    std::optional<QString> place_of(const QString& row_folder, const QString& user) const;

private:
    result_paths result;
    std::map<QByteArray, std::vector<dated_folder>> folders;
};
