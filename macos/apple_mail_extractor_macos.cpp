#include "macos/apple_mail_extractor_macos.h"

#include "support/engine_types.h"
#include "support/plugin_static_function.h"
#include "support/shared_texts.h"

#include <QRegularExpression>

apple_mail_extractor_macos::apple_mail_extractor_macos(QWidget* parent) : QWidget(parent) {}

void apple_mail_extractor_macos::macos_find_artifacts_source()
{
    find_source_file();
}

void apple_mail_extractor_macos::macos_extract_artifacts()
{
    elapsed_timer.start();
    files_attempted_in_run = 0;
    bytes_before_run = bytes_copied_count;
    copy_progress_timer.invalidate();
    looked_up_store.clear();
    bulk_attempts.clear();
    extract_plugin_artifacts();
    emit signal_extracted_records_of_plugin_macos(record_count);
}

void apple_mail_extractor_macos::extract_plugin_artifacts()
{
    plugin_static_function::app_debug(QStringLiteral("starts"), Q_FUNC_INFO);
    if (is_working_engine_type(engine_type) && !run_steps()) {
        return;
    }
    plugin_static_function::app_debug(QStringLiteral("ends"), Q_FUNC_INFO);
}

/// Copies the mail stores and fills the table, when it is wanted; false when cancelled before the Mail directories.
bool apple_mail_extractor_macos::run_steps()
{
    copy_complete_directory_of_mail();
    if (cancel_requested) {
        return false;
    }
    if (!table_name_list.contains(shared_texts::accounts_table)) {
        return true;
    }
    if (!extract_accounts_of_all_versions()) {
        return false;
    }
    extract_mail_extractor();
    emit signal_extracted_records_of_plugin_macos(record_count);
    ++tab_processed_count;
    emit signal_total_tabs_processed_macos(tab_processed_count);
    return true;
}

/// Reads every Mail version directory together with its account store; false when cancelled before one.
bool apple_mail_extractor_macos::extract_accounts_of_all_versions()
{
    for (qsizetype i = 0; i < mail_version_directory_list.size(); ++i) {
        if (cancel_requested) {
            return false;
        }
        const QString version_directory = mail_version_directory_list.at(i);
        const QString user =
            plugin_static_function::extract_user_name_from_sourcefile(version_directory, source_root_path).system_user;
        extract_account(version_directory, account_store_for(i), user);
    }
    return true;
}

/// Returns the account store that belongs to the Mail version directory at a position; empty when there is none.
QString apple_mail_extractor_macos::account_store_for(qsizetype position) const
{
    if (position < accounts_database_list.size()) {
        return accounts_database_list.at(position);
    }
    // Users have more Mail versions than stores, so the positions run out before the last user's turn.
    const QString& version_directory = mail_version_directory_list.at(position);
    const QString library =
        version_directory.left(version_directory.lastIndexOf(QLatin1String("/Mail/"))) + QLatin1Char('/');
    for (const QString& store : accounts_database_list) {
        if (store.startsWith(library)) {
            return store;
        }
    }
    return {};
}

void apple_mail_extractor_macos::set_additional_mail_versions(const QStringList& versions)
{
    // Only names directly below the Mail directory: anything else would be taken for a version directory of a user.
    // "V3" to "V9" are looked for anyway, and twice would mean every row twice.
    static const QRegularExpression refused(QStringLiteral("^$|^\\.|/|^V[3-9]$"));
    additional_mail_version_list.clear();
    for (const QString& version : versions) {
        if (!refused.match(version).hasMatch()) {
            additional_mail_version_list.append(version);
        }
    }
    additional_mail_version_list.removeDuplicates();
}
