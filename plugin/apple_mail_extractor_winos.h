#pragma once

#include "support/scheme_extractor_settings.h"

#include <QWidget>

/// The extractor of Windows sources ("winOS").
///
/// It keeps its settings and does no work, so that a host can drive every scheme through the same interface.
class apple_mail_extractor_winos : public QWidget, private scheme_extractor_settings
{
    Q_OBJECT

public:
    /// Makes the extractor with nothing set.
    explicit apple_mail_extractor_winos(QWidget* parent);

    /// Takes the helper, which stays the plug-in object's.
    void winos_set_plugin_helper_obj(plugin_helper_functions* helper_object) { helper = helper_object; }
    /// Takes the count of rows to go on from.
    void winos_set_record_count(qint64 count) { record_count = count; }
    /// Takes the count of finished tables to go on from.
    void winos_set_tab_processed_count(int count) { tab_processed_count = count; }
    /// Ignores the record.
    void winos_set_desktop_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_desktop_info) {}
    /// Ignores the record.
    void winos_set_general_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_general_info) {}
    /// Takes the evidence source and adds its users, by system and by domain name.
    void winos_set_source_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info source_info)
    {
        keep_source_info(source_info, user_names::system_and_domain_users);
    }
    /// Clears the cancel flag.
    void winos_set_essentials() { cancel_requested = false; }
    /// Takes the plug-in's name, trimmed.
    void winos_set_plugin_name(QString name) { plugin_name = name.trimmed(); }
    /// Takes the plug-in's result directory, its scratch directory and the path of the result database.
    void winos_set_destination_location(QString result_dir, QString tmp_dir, QString db_path)
    {
        keep_destination(result_dir, tmp_dir, db_path);
    }
    /// Takes the names of the result tables to fill.
    void winos_set_essential_for_kavro_desk_extraction(QStringList tables) { table_name_list = tables; }
    /// Takes the engine type.
    void winos_set_engine_type(int type) { engine_type = type; }
    /// Sets the cancel flag.
    void winos_cancel_extraction() { cancel_requested = true; }
    /// Takes the number of the source.
    void winos_set_source_count(int count) { source_count = count; }
    /// Finds nothing.
    void winos_find_artifacts_source();
    /// Extracts nothing and signals the unchanged count of rows.
    void winos_extract_artifacts();

signals:
    /// Rows written so far.
    void signal_extracted_records_of_plugin_winos(qint64 records);
    /// Result tables finished so far.
    void signal_total_tabs_processed_winos(int count);

private:
    void find_source_file();
    void extract_plugin_artifacts();
};
