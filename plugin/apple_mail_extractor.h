#pragma once

#include "plugin/host_records.h"
#include "support/bulk/copied_file.h"

#include <QFrame>
#include <QString>
#include <QStringList>

#include <memory>

class Ui_apple_mail_extractor;
class apple_mail_extractor_ios_uid;
class apple_mail_extractor_macos;
class apple_mail_extractor_winos;
class ios_uid_backup_parser;
class plugin_helper_functions;

/// The plug-in as a host suite sees it: settings in, two working operations, two progress signals out.
///
/// A host calls the virtual operations through the object that create_object() returns, so their order is binding.
/// No operation returns an error: what fails is said in the debug log. Everything runs on the calling thread.
/// Operations that do nothing, and slot_m_process_finished with its flag, are there because all of the suite's plug-ins
/// have them.
class Q_DECL_EXPORT apple_mail_extractor : public QFrame
{
    Q_OBJECT
    /// Further Mail version directory names such as "V10", looked for before "V9"; empty unless a host sets it.
    Q_PROPERTY(QStringList additional_mail_versions READ additional_mail_versions WRITE set_additional_mail_versions)
    /// Copies by several threads, hashed on the way, and counts account folders without copying them once more; false
    /// unless a host sets it.
    Q_PROPERTY(bool bulk_copying READ bulk_copying WRITE set_bulk_copying)
    /// False when the host itself syncs the file system of the copies in bulk before it relies on them, once for
    /// several objects for instance; true unless a host sets it.
    Q_PROPERTY(bool bulk_sync READ bulk_sync WRITE set_bulk_sync)
    /// False when the host wants no hashes of what is copied in bulk; true unless a host sets it.
    Q_PROPERTY(bool bulk_hashing READ bulk_hashing WRITE set_bulk_hashing)
    /// The plug-in's own version, such as "1.0.0".
    Q_PROPERTY(QString plugin_version READ plugin_version CONSTANT)

public:
    /// Makes the object with its form, its three scheme extractors and its helper; nothing is set yet.
    explicit apple_mail_extractor(QWidget* parent = nullptr);
    ~apple_mail_extractor() override;

    /// Takes the engine type; clearing and extracting work for 0, 1 and 2 only.
    virtual void pub_set_engine_type(int type);
    /// Returns the plug-in's name, "Apple Mail Extractor", through Qt's translation.
    virtual QString pub_get_artifact_name();
    /// Starts afresh: clears the cancel flags and sets both counts to 0; the switches of the debug log are reset too.
    virtual void pub_set_essentials();
    /// Takes the number of the source, which rows carry as "Source" and the number.
    virtual void pub_set_source_count(int count);
    /// Takes the host's backup parser for iOS_UID sources; it stays the host's.
    virtual void pub_set_ios_uid_backup_pointer(ios_uid_backup_parser* parser);
    /// Accepts the description of the examiner's machine and ignores it.
    virtual void pub_set_desktop_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_desktop_info desktop_info);
    /// Takes the debug-log switches and opens the debug file when they ask for it.
    virtual void pub_set_general_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_general_info general_info);
    /// Takes the evidence source; a second call adds its users to those already known.
    virtual void pub_set_source_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info source_info);
    /// Takes the names of the result tables to fill; the second list is ignored.
    virtual void pub_set_essential_for_kavro_desk_extraction(QStringList tables, QStringList second);
    /// Takes the case's result directory and creates the plug-in's own directories below it.
    virtual void pub_set_result_directory(QString directory);
    /// Creates the result database with its table, unless they are there.
    virtual void pub_create_db_tables();
    /// With true, empties the chosen result tables; with false, does nothing.
    virtual void pub_set_clear_db(bool clear);
    /// Asks every running or later step to stop at its next poll, until pub_set_essentials.
    virtual void pub_cancel_extraction();
    /// Finds the mail and account stores of the source's users.
    virtual void pub_find_source_file();
    /// Does nothing.
    virtual void pub_set_extended_attributes_list(QStringList list);
    /// Copies the mail stores and fills the result tables; counts go on from the last run until pub_set_essentials.
    virtual void pub_extract_artifacts();
    /// Does nothing.
    virtual void pub_generate_chat_html_pages();
    /// Removes the scratch directory and closes the debug file.
    virtual void pub_remove_temporary_asthetics();

    /// Returns the further Mail version directory names.
    QStringList additional_mail_versions() const;
    /// Takes further Mail version directory names, probed one by one in list order before "V9".
    void set_additional_mail_versions(const QStringList& versions);
    /// True when copies are made in bulk.
    bool bulk_copying() const;
    /// Chooses how later extractions copy.
    void set_bulk_copying(bool in_bulk);
    /// True when a copy in bulk ends with a sync.
    bool bulk_sync() const;
    /// Chooses whether later copies in bulk end with a sync.
    void set_bulk_sync(bool syncs);
    /// True when what is copied in bulk is hashed.
    bool bulk_hashing() const;
    /// Chooses whether later copies in bulk are hashed.
    void set_bulk_hashing(bool hashes);
    /// Returns the plug-in's own version.
    QString plugin_version() const;

signals:
    /// Rows written so far.
    void signal_extracted_records_of_plugin_overall(qint64 records);
    /// Result tables finished so far.
    void signal_tab_processed_of_plugin_overall(int tab_count);
    /// Copies attempted since the run began, at most every 200 ms and once at the end of the whole-tree copy; bytes
    /// are those of the source files. A slot may cancel.
    void signal_copy_progress_of_plugin_overall(qint64 files, qint64 bytes);
    /// What became of one file of the whole-tree copy; only with bulk_copying. Files come in the order of the walk.
    void signal_copied_file_of_plugin_overall(const copied_file& file);
    /// The whole-tree copy has told all its files and was not cancelled; only with bulk_copying.
    void signal_bulk_copied_of_plugin_overall();

private slots:
    void slot_m_process_finished(int status);
    void slot_extracted_records_of_plugin(qint64 rec);
    void slot_total_tabs_processed(int tab_count);

private:
    struct scheme_operations;

    template <typename macos_operation, typename ios_uid_operation, typename winos_operation, typename... settings>
    void hand_to_all(macos_operation to_macos, ios_uid_operation to_ios_uid, winos_operation to_winos,
                     const settings&... values);
    const scheme_operations* operations_for_scheme(const char* caller);
    void set_destination_location(QString result_directory);
    void create_destination_database();
    void create_db_tables();
    void clear_db_tables();

    std::unique_ptr<Ui_apple_mail_extractor> ui;
    bool bool_process_finished = false;
    qint64 record_count = 0;
    int tab_processed_count = 0;
    QString tmp_directory_path;
    QString destination_db_path;
    QString plugin_result_directory_path;
    int engine_type = 0;
    bool bool_cancel_extraction = false;
    QString os_scheme_internal;
    QStringList table_name_list;
    std::unique_ptr<plugin_helper_functions> helper;
    apple_mail_extractor_macos* extractor_macos = nullptr;
    apple_mail_extractor_ios_uid* extractor_ios_uid = nullptr;
    apple_mail_extractor_winos* extractor_winos = nullptr;
};
