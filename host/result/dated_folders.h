#pragma once

#include "host/result/result_paths.h"

#include <QByteArray>
#include <QDate>

#include <map>
#include <vector>

/// A real directory "Apple_Mail_Extractor_<user>_<MM-dd-yyyy>" in which the plug-in put the copies of a user's mail.
struct dated_folder
{
    QDate date;
    QByteArray path; ///< relative to the result
};

/// Returns the dated folders of a result by user, each user's newest first. Throws a failure when their folder is there
/// and cannot be listed.
std::map<QByteArray, std::vector<dated_folder>> find_dated_folders(const result_paths& result);

/// Returns the place of a user's dated folder of a day, relative to the result.
QByteArray dated_folder_path(const QByteArray& user, QDate date);

/// Returns what stands behind the user's name in a row's folder that lies in a dated folder of that user, beginning
/// with the date; empty for any other folder.
QString below_own_dated_folder(const QString& row_folder, const QString& user);
