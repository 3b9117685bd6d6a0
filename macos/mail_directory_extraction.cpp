#include "macos/account_folder_names.h"
#include "macos/apple_mail_extractor_macos.h"
#include "support/named_connection.h"
#include "support/plugin_static_function.h"

#include <QDirIterator>
#include <QFileInfo>

void apple_mail_extractor_macos::extract_mail_extractor()
{
    plugin_static_function::app_debug(QStringLiteral("starts"), Q_FUNC_INFO);
    {
        named_connection result(Q_FUNC_INFO, destination_db_path);
        if (!result.is_open()) {
            plugin_static_function::app_debug(QStringLiteral("Destination Db opening --------FAILED------ ") +
                                                  result.database().databaseName(),
                                              Q_FUNC_INFO);
            plugin_static_function::app_debug(QStringLiteral("ERROR :- ") + result.opening_error(), Q_FUNC_INFO);
            return;
        }
        const committed_transaction transaction(result.database(), Q_FUNC_INFO);
        const QStringList mail_directories = mail_directory_list; // a slot may let the host set a new source
        for (const QString& mail_directory : mail_directories) {
            if (cancel_requested || !extract_account_folders(result.database(), mail_directory, Q_FUNC_INFO)) {
                return;
            }
        }
    }
    plugin_static_function::app_debug(QStringLiteral("ends"), Q_FUNC_INFO);
}

/// Records every account folder at any depth below a Mail directory; false when cancelled.
bool apple_mail_extractor_macos::extract_account_folders(QSqlDatabase& database, const QString& mail_directory,
                                                         const char* signature)
{
    const QString system_user =
        plugin_static_function::extract_user_name_from_sourcefile(mail_directory, source_root_path).system_user;
    const QString destination_base = dated_destination(system_user);
    QDirIterator entries(mail_directory, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        if (cancel_requested) {
            return false;
        }
        const QString path = entries.next();
        const QStringView name = QStringView(path).mid(path.lastIndexOf(QLatin1Char('/')) + 1);
        // The name is at hand, the kind of the entry may cost a look at the disk.
        if (const auto account = account_from_folder_name(name); account && entries.fileInfo().isDir()) {
            copy_and_record_folder(database, entries.fileInfo().absoluteFilePath(), *account, system_user,
                                   destination_base, signature);
        }
    }
    return true;
}

void apple_mail_extractor_macos::copy_and_record_folder(QSqlDatabase& database, const QString& folder,
                                                        const folder_account& account, const QString& system_user,
                                                        const QString& destination_base, const char* signature)
{
    const QLatin1String marker("/Library/Mail/");
    const QString below_mail = folder.mid(folder.indexOf(marker) + marker.size());
    const QString destination = path_below_result(destination_base + QLatin1Char('/') + below_mail);

    mail_account_directory_list.append(folder);
    copy_account_folder(folder);

    const auto source_file = plugin_static_function::get_final_artifact_source_file(path_below_source(folder),
                                                                                    system_user, source_type_internal);
    insert_account_row(database,
                       QStringLiteral("insert into accounts (bookmark, system_user, account,account_type, "
                                      "files_copied, source_file,artifacts_relation_source_file,dest_path,"
                                      "source_count_name) values(?,?,?,?,? ,?,?,?,?)"),
                       {QStringLiteral("0"), system_user, account.account, account.type, files_copied_count,
                        source_file.final_source_file, source_file.complete_file_path, destination,
                        plugin_static_function::get_source_count_name()},
                       signature);
}
