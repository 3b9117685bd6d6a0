#include "plugin/apple_mail_extractor.h"

#include "macos/apple_mail_extractor_macos.h"
#include "plugin/apple_mail_extractor_ios_uid.h"
#include "plugin/apple_mail_extractor_winos.h"
#include "support/engine_types.h"
#include "support/named_connection.h"
#include "support/plugin_helper_functions.h"
#include "support/plugin_static_function.h"
#include "support/shared_texts.h"

#include <QDir>
#include <QFile>

namespace {

const QLatin1Char slash('/');

} // namespace

void apple_mail_extractor::set_destination_location(QString result_directory)
{
    plugin_static_function::app_debug(QStringLiteral("starts"), Q_FUNC_INFO);
    if (!result_directory.endsWith(slash)) {
        result_directory.append(slash);
    }
    plugin_result_directory_path = result_directory + shared_texts::results_directory + slash +
                                   shared_texts::name_in_paths(pub_get_artifact_name()) + slash;
    QDir().mkpath(plugin_result_directory_path);
    tmp_directory_path = plugin_result_directory_path + shared_texts::scratch_directory + slash;
    QDir().mkpath(tmp_directory_path);
    helper->set_adhoc_parent_path(tmp_directory_path);
    destination_db_path = plugin_result_directory_path + shared_texts::name_in_paths(pub_get_artifact_name()) +
                          shared_texts::database_suffix;
    extractor_macos->macos_set_destination_location(plugin_result_directory_path, tmp_directory_path,
                                                    destination_db_path);
    extractor_ios_uid->ios_uid_set_destination_location(plugin_result_directory_path, tmp_directory_path,
                                                        destination_db_path);
    extractor_winos->winos_set_destination_location(plugin_result_directory_path, tmp_directory_path,
                                                    destination_db_path);
    plugin_static_function::app_debug(QStringLiteral("ends"), Q_FUNC_INFO);
}

void apple_mail_extractor::create_destination_database()
{
    plugin_static_function::app_debug(QStringLiteral("starts"), Q_FUNC_INFO);
    create_db_tables();
    plugin_static_function::app_debug(QStringLiteral("ends"), Q_FUNC_INFO);
}

void apple_mail_extractor::create_db_tables()
{
    plugin_static_function::app_debug(QStringLiteral("starts"), Q_FUNC_INFO);
    {
        named_connection result(Q_FUNC_INFO, destination_db_path);
        if (!result.is_open()) {
            plugin_static_function::app_debug(
                QStringLiteral("[create_db_tables]open destination database -------FAILED-----") + destination_db_path,
                Q_FUNC_INFO);
            plugin_static_function::app_debug(result.opening_error(), Q_FUNC_INFO);
            plugin_static_function::app_debug(destination_db_path, Q_FUNC_INFO);
            return;
        }
        const committed_transaction transaction(result.database(), Q_FUNC_INFO);
        const QString statement = QStringLiteral(
            "CREATE TABLE IF NOT EXISTS 'accounts'(bookmark INTEGER,INT INTEGER PRIMARY KEY,system_user VARCHAR(1024),"
            "domain_user VARCHAR(100),account VARCHAR(1024),account_type VARCHAR(1024),files_copied VARCHAR(1024),"
            "dest_path VARCHAR(1024),kavro_tag_value VARCHAR(1024),notes_icon VARCHAR(1024),tags_icon VARCHAR(1024),"
            "os_scheme_display VARCHAR(1024),source_count_name VARCHAR(1024),source_file VARCHAR(1024),"
            "artifacts_relation_source_file VARCHAR(1024),notes VARCHAR(1024))");
        if (!plugin_static_function::execute_db_command_by_dbreference(statement, result.database(), Q_FUNC_INFO)) {
            plugin_static_function::app_debug(QStringLiteral(" table creation -----FAILED---- accounts"), Q_FUNC_INFO);
        }
    }
    plugin_static_function::app_debug(QStringLiteral("end"), Q_FUNC_INFO);
}

void apple_mail_extractor::clear_db_tables()
{
    if (!QFile::exists(destination_db_path)) {
        plugin_static_function::app_debug(QStringLiteral("[clear_db_tables]DB not exists and so returning..."),
                                          Q_FUNC_INFO);
        return;
    }
    if (!is_working_engine_type(engine_type)) {
        return;
    }
    for (const QString& table : table_name_list) {
        plugin_static_function::execute_db_command_by_dbpath(
            QStringLiteral("delete from '") + table + QLatin1Char('\''), destination_db_path, Q_FUNC_INFO);
    }
}
