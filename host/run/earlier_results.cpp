#include "host/run/earlier_results.h"

#include "host/files/file_tree.h"
#include "host/result/dated_folders.h"
#include "host/text/failure.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace {

/// True for a product that tells of a run, whole or unfinished, but for the record itself, which the next run writes
/// over, and the log, which it goes on with.
bool is_product_of_earlier_run(const QString& name)
{
    // What is written in one step has six random letters at its end until then. Six small letters are more likely a
    // word, such as "backup", that a person put there.
    static const QRegularExpression unfinished(QStringLiteral("\\.(?![a-z]{6})[A-Za-z]{6}$"));
    const QRegularExpressionMatch ending = unfinished.match(name);
    if (ending.hasMatch() && name.first(ending.capturedStart()) == product_name(product::run_record)) {
        return true;
    }
    const QString whole_name = ending.hasMatch() ? name.first(ending.capturedStart()) : name;
    return whole_name == product_name(product::manifest) || whole_name == product_name(product::sums) ||
           whole_name == product_name(product::report);
}

} // namespace

qint64 bytes_of_earlier_copies(const result_paths& result, const extraction_settings& settings)
{
    const auto is_user_of_run = [&settings](const QByteArray& name) {
        return std::any_of(settings.users.begin(), settings.users.end(),
                           [&name](const source_user& user) { return QFile::encodeName(user.name) == name; });
    };
    qint64 bytes = 0;
    for (const auto& [user, folders] : find_dated_folders(result)) {
        for (const dated_folder& folder : folders) {
            const bool is_continued = folder.date == QDate::currentDate() && is_user_of_run(user);
            if (settings.clear || is_continued) {
                bytes += visible_files_below(child_path(result.native_root(), folder.path)).bytes;
            }
        }
    }
    return bytes;
}

qint64 remove_earlier_copies(const result_paths& result)
{
    qint64 count = 0;
    for (const auto& [user, folders] : find_dated_folders(result)) {
        for (const dated_folder& folder : folders) {
            const QByteArray path = child_path(result.native_root(), folder.path);
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

void remove_earlier_products(const result_paths& result)
{
    const QDir folder(result.products());
    for (const QString& name : folder.entryList(QDir::Files | QDir::Hidden | QDir::System)) {
        QFile file(folder.filePath(name));
        if (is_product_of_earlier_run(name) && !file.remove()) {
            refuse(QStringLiteral("cannot remove %1 of an earlier run: %2").arg(file.fileName(), file.errorString()));
        }
    }
}
