#pragma once

#include <QDir>
#include <QString>

/// Where the plug-in puts its database and the dated folders of copies, relative to the result.
inline constexpr const char* copies_directory = "Artifacts_Result/Apple_Mail_Extractor";

/// Where the program puts what it makes itself, relative to the result.
inline constexpr const char* products_directory = "mail-extract";

/// Returns the path of one of the program's own products ("manifest.csv"), whether or not it exists.
inline QString product_path(const QString& result, const char* name)
{
    return QDir(result).filePath(QLatin1String(products_directory) + QLatin1Char('/') + QLatin1String(name));
}
