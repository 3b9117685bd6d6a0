#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <array>

/// What the program itself writes into a result.
enum class product
{
    log,
    run_record,
    manifest,
    sums,
    seal,
    report,
    lock,
    mail_database,
    index_only_list,
    disk_only_list
};

/// The products' file names, by product.
inline constexpr std::array<const char*, 10> product_names = {
    "log.txt",     "run.json", "manifest.csv", "SHA256SUMS",     "seal.txt",
    "report.html", "lock",     "mail.sqlite",  "index_only.csv", "disk_only.csv"};

/// Returns a product's file name.
inline QLatin1String product_name(product which)
{
    return QLatin1String(product_names[static_cast<std::size_t>(which)]);
}

/// Returns the place of a product, relative to its result.
QString relative_place(product which);

/// Where everything lies in a result. Made once from the directory that the user names, and handed on; looks at
/// nothing.
class result_paths
{
public:
    /// Cleans the directory's path and makes it absolute; an empty one stays empty.
    explicit result_paths(const QString& directory);

    /// Returns the result's directory, absolute and without a trailing "/".
    const QString& root() const { return directory; }
    /// Returns the same as the file system has it.
    QByteArray native_root() const;
    /// Returns the path of something below the result.
    QString below(const QString& relative) const;

    /// Returns a path below the result relative to it, as the file system has it.
    QByteArray relative(const QString& path) const;

    /// Returns the topmost folder that the plug-in makes.
    QString artifacts() const;
    /// Returns the folder with the plug-in's database and the dated folders of copies.
    QString copies() const;
    /// Returns the plug-in's database of accounts.
    QString database() const;
    /// Returns the folder of the program's own products.
    QString products() const;
    /// Returns the place of one of them.
    QString path(product which) const;
    /// Returns the folder of the evidence kept beside the plug-in's copies: each file under its path in the source.
    QString evidence() const;
    /// Returns the folder with a record of each verification.
    QString verifications() const;
    /// Returns the plug-in's folder for working copies, which is empty between runs.
    QString scratch() const;
    /// Returns every file and folder that the program or the plug-in writes at a place known beforehand.
    QStringList written() const;

private:
    QString directory;
};

/// The folder of the dated folders relative to the result, as the file system has it.
QByteArray relative_copies();

/// The place of a kept file of the source, both relative and as the file system has them.
QByteArray relative_evidence(const QByteArray& source_path);

/// Returns the folder that a row of the table of accounts names, relative to the result; empty when it names none that
/// lies below the plug-in's place there.
QString folder_in_result(const QString& row_folder);

/// Returns what stands behind the folder of the copies in a row's folder, which begins with a dated folder's name; a
/// folder that lies elsewhere comes back as it is.
QString below_copies(const QString& row_folder);

/// Returns a folder relative to the result without the dated folder that it lies in ("V10/IMAP-...").
QString below_dated_folder(const QString& folder);
