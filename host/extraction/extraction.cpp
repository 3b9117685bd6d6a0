#include "host/extraction/extraction.h"

#include "host/extraction/plugin_library.h"
#include "host/extraction/signal_receiver.h"
#include "host/files/spare_memory.h"
#include "host/terminal/interruption.h"
#include "plugin/apple_mail_extractor.h"

namespace {

constexpr const char* versions_property = "additional_mail_versions";
constexpr const char* bulk_property = "bulk_copying";
constexpr const char* sync_property = "bulk_sync";
constexpr const char* hashing_property = "bulk_hashing";

/// One plug-in object's share of an extraction.
struct plugin_task
{
    QList<source_user> users;
    bool clear = false;
};

QList<plugin_task> tasks_of(const extraction_settings& settings)
{
    if (settings.as_suite || settings.users.isEmpty()) {
        return {{settings.users, settings.clear}};
    }
    QList<plugin_task> tasks;
    for (const source_user& user : settings.users) {
        tasks.append({{user}, settings.clear && tasks.isEmpty()});
    }
    return tasks;
}

struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_general_info general_info(const extraction_settings& settings)
{
    struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_general_info info;
    info.debug_mode_status_bool = true;
    info.debug_print_in_file_bool = true;
    info.debug_encryption_status_bool = settings.log_enciphered;
    info.debug_file_path_QString = settings.log_path;
    return info;
}

struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info source_info(const extraction_settings& settings,
                                                                const QList<source_user>& users)
{
    struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info info;
    info.source_root_path = settings.source_root;
    info.source_type_internal = settings.source_type;
    info.os_scheme_display = settings.scheme;
    info.os_scheme_internal = settings.scheme;
    info.source_os_version_full = settings.system_version;
    for (const source_user& user : users) {
        info.system_account_QList.append({user.name, QString()});
    }
    return info;
}

void configure(apple_mail_extractor& plugin, const extraction_settings& settings, const plugin_task& task)
{
    if (settings.as_suite) {
        plugin.pub_set_engine_type(settings.engine_type);
        plugin.pub_set_essentials();
    } else {
        // The reset makes the log forget the engine's name, which its lines should carry.
        plugin.pub_set_essentials();
        plugin.pub_set_engine_type(settings.engine_type);
        plugin.setProperty(versions_property, task.users.value(0).newer_mail_versions);
        plugin.setProperty(bulk_property, settings.in_bulk);
        plugin.setProperty(hashing_property, settings.hashes);
        // There is an object a user, and one sync is as good as a sync a user.
        plugin.setProperty(sync_property, false);
    }
    plugin.pub_set_source_count(settings.source_number);
    plugin.pub_set_desktop_info({});
    plugin.pub_set_general_info(general_info(settings));
    plugin.pub_set_source_info(source_info(settings, task.users));
    if (settings.scheme == QLatin1String("iOS_UID")) {
        plugin.pub_set_ios_uid_backup_pointer(nullptr);
    }
    plugin.pub_set_essential_for_kavro_desk_extraction({QStringLiteral("accounts")}, {});
    plugin.pub_set_result_directory(settings.result_directory);
    if (task.clear) {
        plugin.pub_set_clear_db(true);
    }
    plugin.pub_create_db_tables();
}

file_amount expected_copies(const QList<source_user>& users)
{
    file_amount expected;
    for (const source_user& user : users) {
        expected += user.expected_copies;
    }
    return expected;
}

} // namespace

qint64 extract(const plugin_library& library, const extraction_settings& settings, progress_style style,
               const bulk_listener& listener)
{
    const QList<plugin_task> tasks = tasks_of(settings);
    progress shown(QStringLiteral("copying"), expected_copies(settings.users), style);

    // The plug-in is asked to stop between two files.
    interruption::wait_is_for(QStringLiteral("the file at work"));
    file_amount done_before;
    qint64 rows = 0;
    for (qsizetype number = 0; number < tasks.size(); ++number) {
        const plugin_task& task = tasks[number];
        if (interruption::requested()) {
            break;
        }
        const auto plugin = library.create();
        configure(*plugin, settings, task);
        const auto show = [&](file_amount done) {
            done += done_before;
            shown.update(done);
        };
        const auto end_copying = [&] {
            if (number + 1 == tasks.size()) {
                listener.all_copied();
            }
        };
        const signal_receiver receiver(*plugin, show, listener.copied, end_copying);
        plugin->pub_find_source_file();
        plugin->pub_extract_artifacts();
        plugin->pub_remove_temporary_asthetics();
        // Each object counts from nothing, and its last signal may come before its last copy.
        done_before += expected_copies(task.users);
        rows += receiver.rows();
    }
    interruption::wait_is_for({});
    give_spare_memory_back(); // of the threads that copied
    return rows;
}
