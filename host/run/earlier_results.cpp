#include "host/run/earlier_results.h"

#include "host/terminal/command_failure.h"
#include "host/result/dated_folders.h"
#include "host/result/result_paths.h"
#include "host/files/file_tree.h"

#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <filesystem>
#include <system_error>

qint64 bytes_of_earlier_copies(const extraction_settings& settings)
{
    const QByteArray result = QFile::encodeName(settings.result_directory);
    const auto is_user_of_run = [&settings](const QByteArray& name) {
        return std::any_of(settings.users.begin(), settings.users.end(),
                           [&name](const source_user& user) { return QFile::encodeName(user.name) == name; });
    };
    qint64 bytes = 0;
    for (const auto& [user, folders] : find_dated_folders(result)) {
        for (const dated_folder& folder : folders) {
            const bool goes_on = folder.date == QDate::currentDate() && is_user_of_run(user);
            if (settings.clear || goes_on) {
                bytes += visible_files_below(child_path(result, folder.path)).bytes;
            }
        }
    }
    return bytes;
}

qint64 remove_earlier_copies(const QString& result)
{
    const QByteArray root = QFile::encodeName(result);
    qint64 count = 0;
    for (const auto& [user, folders] : find_dated_folders(root)) {
        for (const dated_folder& folder : folders) {
            const QByteArray path = child_path(root, folder.path);
            std::error_code error;
            std::filesystem::remove_all(path.toStdString(), error);
            if (error) {
                refuse(QStringLiteral("cannot remove the earlier copy %1: %2")
                           .arg(QFile::decodeName(path), QString::fromLocal8Bit(error.message().c_str())));
            }
            ++count;
        }
    }
    return count;
}

void remove_earlier_products(const QString& result)
{
    // What is written in one step has six random letters at its end until then. Six small letters are more likely a
    // word, such as "backup", that a person put there.
    static const QRegularExpression own(
        QStringLiteral("^(manifest\\.csv|SHA256SUMS|report\\.html|run\\.json(?=\\.))(\\.(?![a-z]{6})[A-Za-z]{6})?$"));
    const QDir folder(QDir(result).filePath(QLatin1String(products_directory)));
    for (const QString& name : folder.entryList(QDir::Files | QDir::Hidden | QDir::System)) {
        QFile file(folder.filePath(name));
        if (own.match(name).hasMatch() && !file.remove()) {
            refuse(QStringLiteral("cannot remove %1 of an earlier run: %2").arg(file.fileName(), file.errorString()));
        }
    }
}
