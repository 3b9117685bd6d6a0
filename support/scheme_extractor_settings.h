#pragma once

#include "plugin/host_records.h"

#include <QElapsedTimer>
#include <QString>
#include <QStringList>

#include <atomic>

class plugin_helper_functions;

/// What every scheme extractor keeps of the host's settings, and the counts it goes on from; what a scheme does not use
/// is kept all the same, since all of the suite's extractors do.
class scheme_extractor_settings
{
protected:
    /// Which names of a source's users a scheme works with.
    enum class user_names
    {
        none,
        system_users,
        system_and_domain_users
    };

    /// Keeps root, type and display scheme, and adds the source's users to those already known, without duplicates and
    /// without empty names.
    void keep_source_info(const struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info& source_info,
                          user_names kept_names);
    /// Keeps the plug-in's result directory, its scratch directory and the path of the result database.
    void keep_destination(const QString& result_directory, const QString& tmp_directory, const QString& db_path);

    qint64 record_count = 0;
    int tab_processed_count = 0;
    QElapsedTimer elapsed_timer;
    plugin_helper_functions* helper = nullptr;
    QString copy_destination_path;
    QString destination_db_path;
    QString destination_root_path;
    QString source_type_internal;
    QString source_root_path;
    int engine_type = 0;
    std::atomic<bool> cancel_requested = false; ///< the threads of a bulk copy look at it, too
    int source_count = 0;
    QString os_scheme_display;
    QStringList user_name_list;
    QStringList table_name_list;
    QString plugin_name;
};
