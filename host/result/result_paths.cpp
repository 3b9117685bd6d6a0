#include "host/result/result_paths.h"

#include "host/files/sqlite_companions.h"
#include "support/shared_texts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

constexpr QLatin1String artifacts_folder = shared_texts::results_directory;
constexpr QLatin1String copies_folder = shared_texts::plugin_directory;
constexpr QLatin1String products_folder("mail-extract");
constexpr QLatin1String evidence_folder("evidence");

} // namespace

QString relative_place(product which)
{
    return products_folder + QLatin1Char('/') + product_name(which);
}

result_paths::result_paths(const QString& named)
    : directory(named.isEmpty() ? QString() : QDir::cleanPath(QFileInfo(named).absoluteFilePath()))
{
}

QByteArray result_paths::native_root() const
{
    return QFile::encodeName(directory);
}

QString result_paths::below(const QString& relative) const
{
    return QDir(directory).filePath(relative);
}

QByteArray result_paths::relative(const QString& path) const
{
    return QFile::encodeName(QDir(directory).relativeFilePath(path));
}

QString result_paths::artifacts() const
{
    return below(artifacts_folder);
}

QString result_paths::copies() const
{
    return below(copies_folder);
}

QString result_paths::database() const
{
    return copies() + QLatin1Char('/') + shared_texts::artifact_folder + shared_texts::database_suffix;
}

QString result_paths::products() const
{
    return below(products_folder);
}

QString result_paths::path(product which) const
{
    return products() + QLatin1Char('/') + product_name(which);
}

QString result_paths::evidence() const
{
    return products() + QLatin1Char('/') + evidence_folder;
}

QString result_paths::verifications() const
{
    return products() + QStringLiteral("/verifications");
}

QString result_paths::scratch() const
{
    return copies() + QLatin1Char('/') + shared_texts::scratch_directory;
}

QStringList result_paths::written() const
{
    QStringList paths{directory, artifacts(), copies(), database(), products(), verifications(), evidence(), scratch()};
    for (const char* companion : sqlite_companions) {
        paths.append(database() + QLatin1String(companion));
    }
    for (const char* name : product_names) {
        paths.append(products() + QLatin1Char('/') + QLatin1String(name));
    }
    return paths;
}

QByteArray relative_copies()
{
    return QByteArray(copies_folder.data(), copies_folder.size());
}

QByteArray relative_evidence(const QByteArray& source_path)
{
    return QByteArray(products_folder.data(), products_folder.size()) + '/' +
           QByteArray(evidence_folder.data(), evidence_folder.size()) + '/' + source_path;
}

QString folder_in_result(const QString& row_folder)
{
    if (!row_folder.startsWith(QLatin1Char('/') + artifacts_folder + QLatin1Char('/'))) {
        return {};
    }
    const QString folder = row_folder.mid(1);
    return QDir::cleanPath(folder) == folder ? folder : QString();
}

QString below_copies(const QString& row_folder)
{
    const QString copies = QLatin1Char('/') + copies_folder + QLatin1Char('/');
    return row_folder.startsWith(copies) ? row_folder.mid(copies.size()) : row_folder;
}

QString below_dated_folder(const QString& folder)
{
    // The plug-in's two folders and the dated one come first.
    return folder.section(QLatin1Char('/'), 3);
}
