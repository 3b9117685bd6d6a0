#pragma once

#include "macos/attempted_copies.h"
#include "support/bulk/copied_file.h"
#include "support/scheme_extractor_settings.h"

#include <QList>
#include <QSqlDatabase>
#include <QVariantList>
#include <QWidget>

class bulk_copier;
struct folder_account;

/// The extractor of macOS sources: finds the users' mail and account stores, copies them and writes the account rows.
///
/// Failures are said in the debug log only. The loops poll the cancel flag, which a slot of any signal may set. What
/// does nothing or is never read (setters that ignore their record, the source's number, the lists and counts that only
/// grow, filter_extended_attribute_list) is there because all of the suite's extractors have it.
class apple_mail_extractor_macos : public QWidget, private scheme_extractor_settings
{
    Q_OBJECT

public:
    /// One account of an account store, its columns as text; an SQL NULL is the empty text.
    struct struct_apple_mail_extractor_account_details
    {
        QString pk;                   ///< Z_PK
        QString identifier;           ///< ZIDENTIFIER
        QString parent_account;       ///< ZPARENTACCOUNT, the parent's Z_PK
        QString username;             ///< ZUSERNAME
        QString owning_bundle_id;     ///< ZOWNINGBUNDLEID
        QString dataclass_properties; ///< ZDATACLASSPROPERTIES, carried along and never interpreted
    };

    /// Makes the extractor with nothing set.
    explicit apple_mail_extractor_macos(QWidget* parent);

    /// Takes the helper, which stays the plug-in object's.
    void macos_set_plugin_helper_obj(plugin_helper_functions* helper_object) { helper = helper_object; }
    /// Takes the count of rows to go on from.
    void macos_set_record_count(qint64 count) { record_count = count; }
    /// Takes the count of finished tables to go on from.
    void macos_set_tab_processed_count(int count) { tab_processed_count = count; }
    /// Ignores the record.
    void macos_set_desktop_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_desktop_info) {}
    /// Ignores the record.
    void macos_set_general_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_general_info) {}
    /// Takes the evidence source and adds its users, by system name.
    void macos_set_source_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info source_info)
    {
        keep_source_info(source_info, user_names::system_users);
    }
    /// Clears the cancel flag.
    void macos_set_essentials() { cancel_requested = false; }
    /// Takes the plug-in's name, trimmed.
    void macos_set_plugin_name(QString name) { plugin_name = name.trimmed(); }
    /// Takes the plug-in's result directory, its scratch directory and the path of the result database.
    void macos_set_destination_location(QString result_dir, QString tmp_dir, QString db_path)
    {
        keep_destination(result_dir, tmp_dir, db_path);
    }
    /// Does nothing.
    void macos_set_extended_attributes_list(QStringList) {}
    /// Takes the names of the result tables to fill.
    void macos_set_essential_for_kavro_desk_extraction(QStringList tables) { table_name_list = tables; }
    /// Takes the engine type; extraction runs for 0, 1 and 2 only.
    void macos_set_engine_type(int type) { engine_type = type; }
    /// Sets the cancel flag.
    void macos_cancel_extraction() { cancel_requested = true; }
    /// Takes the number of the source.
    void macos_set_source_count(int count) { source_count = count; }
    /// Fills the lists of mail and account stores for the source's users.
    void macos_find_artifacts_source();
    /// Runs all steps on the lists that the search filled, then signals the count of rows, cancelled or not.
    void macos_extract_artifacts();

    /// Returns the further Mail version directory names.
    QStringList additional_mail_versions() const { return additional_mail_version_list; }
    /// Takes further Mail version directory names, probed in list order before "V9"; what is no plain visible
    /// folder name, "V3" to "V9", and repetitions are left out.
    void set_additional_mail_versions(const QStringList& versions);
    /// True when copies are made by several threads, and account folders are counted rather than copied once more.
    bool bulk_copying() const { return copies_in_bulk; }
    /// Chooses how later extractions copy.
    void set_bulk_copying(bool in_bulk) { copies_in_bulk = in_bulk; }
    /// True when copies in bulk end with a sync of their file system.
    bool bulk_sync() const { return syncs_in_bulk; }
    /// Leaves the sync to the host with false.
    void set_bulk_sync(bool syncs) { syncs_in_bulk = syncs; }
    /// True when what is copied in bulk is hashed.
    bool bulk_hashing() const { return hashes_in_bulk; }
    /// Does without the hashes with false.
    void set_bulk_hashing(bool hashes) { hashes_in_bulk = hashes; }

signals:
    /// Rows written so far; during extraction about once a second.
    void signal_extracted_records_of_plugin_macos(qint64 records);
    /// Result tables finished so far.
    void signal_total_tabs_processed_macos(int count);
    /// Copies attempted since the run began and the bytes of their source files; at most every 200 ms.
    void signal_copy_progress_of_plugin_macos(qint64 files, qint64 bytes);
    /// What became of one file of a bulk copy.
    void signal_copied_file_of_plugin_macos(const copied_file& file);
    /// All files of a bulk copy have been told, and it was not cancelled.
    void signal_bulk_copied_of_plugin_macos();

private:
    struct account_store_step;

    // The driver
    void extract_plugin_artifacts();
    bool run_steps();
    bool extract_accounts_of_all_versions();
    QString account_store_for(qsizetype position) const;

    // Finding the sources
    void find_source_file();

    // Accounts of the account store
    void extract_account(QString mail_version_directory, QString accounts_database, QString system_user);
    bool extract_account_records(account_store_step& step,
                                 const QList<struct_apple_mail_extractor_account_details>& details);
    bool extract_account_record(account_store_step& step, const struct_apple_mail_extractor_account_details& details);
    void copy_and_record_account(account_store_step& step, const QString& account, const QString& folder);
    QStringList sub_get_identifier_bundle_path(QString directory);
    QStringList sub_get_identifier_bundle_name(QStringList paths);
    QList<struct_apple_mail_extractor_account_details> sub_compare_identifier_with_db(QStringList identifiers,
                                                                                      QString database);

    // Accounts of the Mail directory
    void extract_mail_extractor();
    bool extract_account_folders(QSqlDatabase& database, const QString& mail_directory, const char* signature);
    void copy_and_record_folder(QSqlDatabase& database, const QString& folder, const folder_account& account,
                                const QString& system_user, const QString& destination_base, const char* signature);

    // Rows and the paths in them
    void insert_account_row(QSqlDatabase& database, const QString& statement, const QVariantList& values,
                            const char* signature);
    QString dated_destination(const QString& system_user) const;
    QString path_below_source(const QString& path) const;
    QString path_below_result(QString path) const;

    // Copying
    void copy_complete_directory_of_mail();
    void copy_mail_directories();
    bool copy_folders_of_mail_directory(const QString& mail_directory, const QString& target);
    void copy_directory(QString source, QString destination);
    void copy_account_folder(const QString& folder);
    QString extract_current_date() const;
    void filter_extended_attribute_list();
    void signal_copy_progress();

    // Copying in bulk
    bool copy_mail_directories_in_bulk();
    void count_files_of(const QString& folder);
    void take_copied_file(const copied_file& file);
    void signal_copy_progress_of_long_file();

    qint64 files_copied_count = 0;
    qint64 directories_copied_count = 0;
    qint64 bytes_copied_count = 0;
    QStringList mail_directory_list;
    QStringList mail_account_directory_list;
    QStringList accounts_database_list;
    QStringList mail_version_directory_list;

    QString looked_up_store;
    qint64 look_up_time_left = 0; ///< nanoseconds that statements may still take in that store
    QStringList additional_mail_version_list;
    qint64 files_attempted_in_run = 0;
    qint64 bytes_before_run = 0;
    QElapsedTimer copy_progress_timer;
    bool copies_in_bulk = false;
    bool syncs_in_bulk = true;
    bool hashes_in_bulk = true;
    bulk_copier* copier = nullptr; ///< while a bulk copy runs
    attempted_copies bulk_attempts;
};
