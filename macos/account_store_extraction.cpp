#include "macos/account_folder_names.h"
#include "macos/account_lookup.h"
#include "macos/apple_mail_extractor_macos.h"
#include "support/limited_database.h"
#include "support/named_connection.h"
#include "support/plugin_helper_functions.h"
#include "support/plugin_static_function.h"

#include <QFileInfo>
#include <QSqlQuery>

namespace {

const QLatin1String mail_literal("/Library/Mail");
const QLatin1String source_file_separator(";++::++;");
// In nanoseconds. A store of many thousand accounts takes less than one second, and each folder's look-ups a third of
// what they are given.
constexpr qint64 time_for_a_store = 3'000'000'000;
constexpr qint64 time_for_a_folder = 200'000;

using account_details = apple_mail_extractor_macos::struct_apple_mail_extractor_account_details;

/// True when an account has its name on its own row; false when it stands on the parent's.
bool is_found_by_name(const account_details& details)
{
    return !details.username.isEmpty() && details.parent_account.isEmpty();
}

/// Returns for each account's identifier the last entry whose path ends with it.
QHash<QString, QString> folders_by_identifier(const QStringList& entries, const QList<account_details>& details)
{
    QStringList identifiers;
    for (const account_details& account : details) {
        identifiers.append(account.identifier);
    }
    return last_path_by_ending(entries, identifiers);
}

} // namespace

/// One Mail version directory joined with one account store.
struct apple_mail_extractor_macos::account_store_step
{
    QString mail_version_directory;
    QString accounts_database;
    QString system_user;
    QSqlDatabase& result;
    limited_database& store;
    QHash<QString, QString> folders; ///< the entry of the Mail version directory that bears an identifier
    account_lookup by_name;
    account_lookup by_key;
    const char* signature;
    bool has_run_out_of_time = false; ///< said in the log; no further look-up would succeed
};

void apple_mail_extractor_macos::extract_account(QString mail_version_directory, QString accounts_database,
                                                 QString system_user)
{
    plugin_static_function::app_debug(QStringLiteral("START"), Q_FUNC_INFO);
    if (accounts_database != looked_up_store) {
        looked_up_store = accounts_database;
        look_up_time_left = time_for_a_store;
    }
    const QStringList entries = sub_get_identifier_bundle_path(mail_version_directory);
    look_up_time_left += entries.size() * time_for_a_folder;
    const QStringList names = sub_get_identifier_bundle_name(entries);
    const QString working_copy = helper->get_adhoc_path_for_database(accounts_database);
    if (working_copy.isEmpty()) {
        return;
    }
    const auto details = sub_compare_identifier_with_db(names, working_copy);

    const auto log_opening = [signature = Q_FUNC_INFO](const char* what, auto& connection) {
        plugin_static_function::app_debug(QString::fromLatin1(what) + connection.database().databaseName(), signature);
        plugin_static_function::app_debug(QStringLiteral("ERROR :- ") + connection.opening_error(), signature);
    };
    {
        // Declared in the reverse of the order in which they end: the store closes, the rows are committed, the result
        // closes, all of it before the closing line.
        named_connection result(Q_FUNC_INFO, destination_db_path);
        if (!result.is_open()) {
            log_opening("destination_db Db opening --------FAILED------- ", result);
            return;
        }
        const committed_transaction transaction(result.database(), Q_FUNC_INFO);
        limited_database store(QStringLiteral("source_") + QString::fromLatin1(Q_FUNC_INFO), working_copy,
                               account_table, look_up_time_left);
        if (!store.is_open()) {
            log_opening("Source Db opening --------FAILED------- ", store);
            return;
        }
        const QString columns =
            QStringLiteral("Z_PK,ZIDENTIFIER,ZPARENTACCOUNT,ZUSERNAME,ZOWNINGBUNDLEID,ZACCOUNTDESCRIPTION");
        account_store_step step{mail_version_directory,
                                accounts_database,
                                system_user,
                                result.database(),
                                store,
                                folders_by_identifier(entries, details),
                                account_lookup(store, columns, {QStringLiteral("ZUSERNAME")}),
                                account_lookup(store, columns, {QStringLiteral("Z_PK")}),
                                Q_FUNC_INFO};
        if (!extract_account_records(step, details)) {
            return;
        }
    }
    plugin_static_function::app_debug(QStringLiteral("END"), Q_FUNC_INFO);
}

/// Records every account that has a folder; false when cancelled.
bool apple_mail_extractor_macos::extract_account_records(
    account_store_step& step, const QList<struct_apple_mail_extractor_account_details>& details)
{
    QStringList names;
    QStringList keys;
    for (const auto& record : details) {
        (is_found_by_name(record) ? names : keys)
            .append(is_found_by_name(record) ? record.username : record.parent_account);
    }
    step.by_name.expect(names);
    step.by_key.expect(keys);
    for (const auto& record : details) {
        if (cancel_requested || !extract_account_record(step, record)) {
            return false;
        }
        if (step.has_run_out_of_time) {
            break;
        }
    }
    return true;
}

/// Finds the name and the folder of one account and records it; false when cancelled.
bool apple_mail_extractor_macos::extract_account_record(account_store_step& step,
                                                        const struct_apple_mail_extractor_account_details& details)
{
    QString account;
    QString folder;
    {
        account_lookup& lookup = is_found_by_name(details) ? step.by_name : step.by_key;
        const QString& value = is_found_by_name(details) ? details.username : details.parent_account;
        QSqlQuery query(step.store.database());
        if (!lookup.execute(query, value)) {
            plugin_static_function::app_debug(QStringLiteral("source_url query execution --------FAILED-------") +
                                                  step.store.database().databaseName(),
                                              step.signature);
            plugin_static_function::app_debug(QStringLiteral("ERROR :- ") + lookup.error(), step.signature);
            plugin_static_function::app_debug(QStringLiteral("Query :- ") + lookup.statement(value), step.signature);
            step.has_run_out_of_time = step.store.is_time_over();
            return true;
        }
        if (query.next()) {
            if (cancel_requested) {
                return false;
            }
            folder = step.folders.value(details.identifier);
            account = query.value(3).toString();
        }
    }
    files_copied_count = 0;
    if (QFileInfo(folder).isDir()) {
        copy_and_record_account(step, account, folder);
    }
    return true;
}

void apple_mail_extractor_macos::copy_and_record_account(account_store_step& step, const QString& account,
                                                         const QString& folder)
{
    copy_account_folder(folder);
    if (!folder.contains(mail_literal)) {
        return;
    }
    const QString destination =
        path_below_result(dated_destination(step.system_user) + folder.split(mail_literal).at(1));

    const auto recorded = [&](const QString& path) {
        return plugin_static_function::get_final_artifact_source_file(path_below_source(path), step.system_user,
                                                                      source_type_internal);
    };
    const auto version_directory = recorded(step.mail_version_directory);
    const auto account_store = recorded(step.accounts_database);
    const QString source_file =
        version_directory.final_source_file + source_file_separator + account_store.final_source_file;
    QString relation = version_directory.complete_file_path;
    if (!relation.isEmpty()) {
        relation += source_file_separator + account_store.complete_file_path;
    }

    insert_account_row(step.result,
                       QStringLiteral("insert into accounts (bookmark, system_user, account,account_type, "
                                      "files_copied,source_file,artifacts_relation_source_file,dest_path,"
                                      "os_scheme_display ,source_count_name)values(?,?,?,?,? ,?,?,?,?,?)"),
                       {QStringLiteral("0"), step.system_user, account, QLatin1String(""), files_copied_count,
                        source_file, relation, destination.trimmed(), os_scheme_display,
                        plugin_static_function::get_source_count_name()},
                       step.signature);
}
