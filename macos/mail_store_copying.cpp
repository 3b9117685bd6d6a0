#include "macos/apple_mail_extractor_macos.h"
#include "support/bulk/bulk_copying.h"
#include "support/plugin_static_function.h"
#include "support/shared_texts.h"

#include <QDate>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QLocale>

namespace {

constexpr qint64 progress_interval_ms = 200;
const QLatin1Char slash('/');

/// Returns the visible files of a directory, links to such included, in the file system's own order.
QStringList files_in(const QString& path)
{
    QStringList names;
    QDirIterator entries(path, QDir::Files);
    while (entries.hasNext()) {
        const QFileInfo entry = entries.nextFileInfo();
        if (entry.isFile()) { // a link to a pipe passes the filter, and opening it would wait for ever
            names.append(entry.fileName());
        }
    }
    return names;
}

/// Returns the visible subdirectories of a directory, links to such included, in the file system's own order.
QStringList directories_in(const QString& path)
{
    QStringList names;
    QDirIterator entries(path, QDir::AllDirs | QDir::NoDotAndDotDot);
    while (entries.hasNext()) {
        entries.next();
        names.append(entries.fileName());
    }
    return names;
}

} // namespace

void apple_mail_extractor_macos::copy_complete_directory_of_mail()
{
    // Without a result directory the copies would land wherever the host happens to stand.
    if (mail_directory_list.isEmpty() || destination_root_path.isEmpty()) {
        return;
    }
    if (!copies_in_bulk || !copy_mail_directories_in_bulk()) {
        copy_mail_directories();
    }
    if (!cancel_requested) {
        emit signal_copy_progress_of_plugin_macos(files_attempted_in_run, bytes_copied_count - bytes_before_run);
    }
}

void apple_mail_extractor_macos::copy_mail_directories()
{
    const QStringList mail_directories = mail_directory_list; // a slot may let the host set a new source
    for (const QString& mail_directory : mail_directories) {
        if (cancel_requested) {
            return;
        }
        const QString user =
            plugin_static_function::extract_user_name_from_sourcefile(mail_directory, source_root_path).system_user;
        const QString target = dated_destination(user);
        QDir().mkpath(target);
        if (!copy_folders_of_mail_directory(mail_directory, target)) {
            return;
        }
    }
}

/// Copies the folders, not the files, that lie directly in a Mail directory; false when cancelled before an entry.
bool apple_mail_extractor_macos::copy_folders_of_mail_directory(const QString& mail_directory, const QString& target)
{
    QDirIterator entries(mail_directory);
    while (entries.hasNext()) {
        if (cancel_requested) {
            return false;
        }
        const QFileInfo entry(entries.next());
        const QString name = entry.fileName();
        if (name == QLatin1String(".") || name == QLatin1String("..") || !entry.isDir()) {
            continue;
        }
        const QString folder = entry.absoluteFilePath();
        if (copier != nullptr) {
            copier->copy_tree(QFile::encodeName(folder), QFile::encodeName(target + slash + name));
        } else {
            copy_directory(folder, target + slash + name);
        }
    }
    return true;
}

void apple_mail_extractor_macos::copy_directory(QString source, QString destination)
{
    if (cancel_requested) {
        return;
    }
    if (!QDir(source).exists() || destination.isEmpty()) {
        return;
    }
    QDir().mkpath(destination);

    for (const QString& name : files_in(source)) {
        if (cancel_requested) {
            return;
        }
        const QString source_file = source + slash + name;
        QFile file(source_file);
        bytes_copied_count += file.size();
        ++files_copied_count;
        ++files_attempted_in_run;
        file.copy(destination + slash + name);
        signal_copy_progress();
    }
    // Listed only now: copying may have let a slot work for as long as it takes.
    for (const QString& name : directories_in(source)) {
        ++directories_copied_count;
        if (cancel_requested) {
            break;
        }
        copy_directory(source + slash + name, destination + slash + name);
    }
}

/// Copies an account's folder into the scratch directory, or only counts what that would have copied.
void apple_mail_extractor_macos::copy_account_folder(const QString& folder)
{
    files_copied_count = 0;
    if (copies_in_bulk) {
        count_files_of(folder);
    } else {
        copy_directory(folder, copy_destination_path);
    }
}

void apple_mail_extractor_macos::signal_copy_progress()
{
    // The first copy is signalled at once, so that a host knows early that something moves.
    if (copy_progress_timer.isValid() && !copy_progress_timer.hasExpired(progress_interval_ms)) {
        return;
    }
    copy_progress_timer.start();
    const qint64 in_work = copier != nullptr ? copier->bytes_in_work() : 0;
    emit signal_copy_progress_of_plugin_macos(files_attempted_in_run, bytes_copied_count - bytes_before_run + in_work);
}

QString apple_mail_extractor_macos::extract_current_date() const
{
    return QLocale::c().toString(QDate::currentDate(), shared_texts::date_format);
}

void apple_mail_extractor_macos::filter_extended_attribute_list() {}
