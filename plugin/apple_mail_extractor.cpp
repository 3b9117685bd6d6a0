#include "plugin/apple_mail_extractor.h"

#include "macos/apple_mail_extractor_macos.h"
#include "plugin/apple_mail_extractor_ios_uid.h"
#include "plugin/apple_mail_extractor_winos.h"
#include "support/plugin_helper_functions.h"
#include "support/plugin_static_function.h"
#include "support/shared_texts.h"
#include "ui_apple_mail_extractor.h"

#include <array>
#include <functional>

using macos = apple_mail_extractor_macos;
using ios_uid = apple_mail_extractor_ios_uid;
using winos = apple_mail_extractor_winos;

/// What the plug-in object starts in the extractor of one source scheme.
struct apple_mail_extractor::scheme_operations
{
    QLatin1String scheme;
    void (*find)(apple_mail_extractor&);
    void (*extract)(apple_mail_extractor&);
};

apple_mail_extractor::apple_mail_extractor(QWidget* parent)
    : QFrame(parent)
    , ui(std::make_unique<Ui_apple_mail_extractor>())
    , helper(std::make_unique<plugin_helper_functions>(this))
{
    ui->setupUi(this);

    const auto relay = [this](auto* extractor, auto records_signal, auto tabs_signal) {
        connect(extractor, records_signal, this, &apple_mail_extractor::slot_extracted_records_of_plugin);
        connect(extractor, tabs_signal, this, &apple_mail_extractor::slot_total_tabs_processed);
    };
    extractor_macos = new macos(this);
    relay(extractor_macos, &macos::signal_extracted_records_of_plugin_macos, &macos::signal_total_tabs_processed_macos);
    extractor_ios_uid = new ios_uid(this);
    relay(extractor_ios_uid, &ios_uid::signal_extracted_records_of_plugin_ios_uid,
          &ios_uid::signal_total_tabs_processed_ios_uid);
    extractor_winos = new winos(this);
    relay(extractor_winos, &winos::signal_extracted_records_of_plugin_winos, &winos::signal_total_tabs_processed_winos);
    connect(extractor_macos, &macos::signal_copy_progress_of_plugin_macos, this,
            &apple_mail_extractor::signal_copy_progress_of_plugin_overall);
    connect(extractor_macos, &macos::signal_copied_file_of_plugin_macos, this,
            &apple_mail_extractor::signal_copied_file_of_plugin_overall);
    connect(extractor_macos, &macos::signal_bulk_copied_of_plugin_macos, this,
            &apple_mail_extractor::signal_bulk_copied_of_plugin_overall);
}

apple_mail_extractor::~apple_mail_extractor() = default;

/// Hands the same settings to the three scheme extractors, in their fixed order.
template <typename macos_operation, typename ios_uid_operation, typename winos_operation, typename... settings>
void apple_mail_extractor::hand_to_all(macos_operation to_macos, ios_uid_operation to_ios_uid, winos_operation to_winos,
                                       const settings&... values)
{
    std::invoke(to_macos, extractor_macos, values...);
    std::invoke(to_ios_uid, extractor_ios_uid, values...);
    std::invoke(to_winos, extractor_winos, values...);
}

void apple_mail_extractor::pub_set_engine_type(int type)
{
    engine_type = type;
    plugin_static_function::set_engine_type(type);
    hand_to_all(&macos::macos_set_engine_type, &ios_uid::ios_uid_set_engine_type, &winos::winos_set_engine_type, type);
    hand_to_all(&macos::macos_set_plugin_name, &ios_uid::ios_uid_set_plugin_name, &winos::winos_set_plugin_name,
                pub_get_artifact_name());
}

QString apple_mail_extractor::pub_get_artifact_name()
{
    return QObject::tr(shared_texts::artifact_name);
}

void apple_mail_extractor::pub_set_essentials()
{
    bool_cancel_extraction = false;
    record_count = 0;
    tab_processed_count = 0;
    plugin_static_function::set_essentials();
    helper->set_essentials();
    hand_to_all(&macos::macos_set_essentials, &ios_uid::ios_uid_set_essentials, &winos::winos_set_essentials);
}

void apple_mail_extractor::pub_set_source_count(int count)
{
    plugin_static_function::set_source_count(count);
    hand_to_all(&macos::macos_set_source_count, &ios_uid::ios_uid_set_source_count, &winos::winos_set_source_count,
                count);
}

void apple_mail_extractor::pub_set_ios_uid_backup_pointer(ios_uid_backup_parser* parser)
{
    extractor_ios_uid->ios_uid_set_ios_backup_pointer(parser);
}

void apple_mail_extractor::pub_set_desktop_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_desktop_info desktop_info)
{
    plugin_static_function::set_desktop_info(desktop_info);
    hand_to_all(&macos::macos_set_desktop_info, &ios_uid::ios_uid_set_desktop_info, &winos::winos_set_desktop_info,
                desktop_info);
}

void apple_mail_extractor::pub_set_general_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_general_info general_info)
{
    plugin_static_function::set_general_info(general_info);
    hand_to_all(&macos::macos_set_general_info, &ios_uid::ios_uid_set_general_info, &winos::winos_set_general_info,
                general_info);
}

void apple_mail_extractor::pub_set_source_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info source_info)
{
    os_scheme_internal = source_info.os_scheme_internal;
    plugin_static_function::set_source_info(source_info);
    hand_to_all(&macos::macos_set_source_info, &ios_uid::ios_uid_set_source_info, &winos::winos_set_source_info,
                source_info);
}

void apple_mail_extractor::pub_set_essential_for_kavro_desk_extraction(QStringList tables, QStringList /*second*/)
{
    table_name_list = tables;
    hand_to_all(&macos::macos_set_essential_for_kavro_desk_extraction,
                &ios_uid::ios_uid_set_essential_for_kavro_desk_extraction,
                &winos::winos_set_essential_for_kavro_desk_extraction, tables);
}

void apple_mail_extractor::pub_set_result_directory(QString directory)
{
    set_destination_location(directory);
}

void apple_mail_extractor::pub_create_db_tables()
{
    create_destination_database();
}

void apple_mail_extractor::pub_set_clear_db(bool clear)
{
    if (clear) {
        clear_db_tables();
    }
}

void apple_mail_extractor::pub_cancel_extraction()
{
    bool_cancel_extraction = true;
    plugin_static_function::set_cancel_extraction(true);
    helper->set_cancel_extraction(bool_cancel_extraction);
    hand_to_all(&macos::macos_cancel_extraction, &ios_uid::ios_uid_cancel_extraction, &winos::winos_cancel_extraction);
}

void apple_mail_extractor::pub_find_source_file()
{
    if (const scheme_operations* operations = operations_for_scheme(Q_FUNC_INFO)) {
        operations->find(*this);
    }
}

void apple_mail_extractor::pub_set_extended_attributes_list(QStringList /*list*/) {}

void apple_mail_extractor::pub_extract_artifacts()
{
    plugin_static_function::app_debug(QStringLiteral("START"), Q_FUNC_INFO);
    emit signal_extracted_records_of_plugin_overall(0);
    hand_to_all(&macos::macos_set_plugin_helper_obj, &ios_uid::ios_uid_set_plugin_helper_obj,
                &winos::winos_set_plugin_helper_obj, helper.get());
    hand_to_all(&macos::macos_set_record_count, &ios_uid::ios_uid_set_record_count, &winos::winos_set_record_count,
                record_count);
    hand_to_all(&macos::macos_set_tab_processed_count, &ios_uid::ios_uid_set_tab_processed_count,
                &winos::winos_set_tab_processed_count, tab_processed_count);
    if (const scheme_operations* operations = operations_for_scheme(Q_FUNC_INFO)) {
        if (bool_cancel_extraction) {
            return;
        }
        operations->extract(*this);
    }
    emit signal_extracted_records_of_plugin_overall(record_count);
    plugin_static_function::app_debug(QStringLiteral("END"), Q_FUNC_INFO);
}

void apple_mail_extractor::pub_generate_chat_html_pages() {}

void apple_mail_extractor::pub_remove_temporary_asthetics()
{
    plugin_static_function::remove_directory(tmp_directory_path);
    plugin_static_function::close_debug_file();
}

/// Returns the operations of the source's scheme; for an unknown scheme logs so under the caller and returns nullptr.
const apple_mail_extractor::scheme_operations* apple_mail_extractor::operations_for_scheme(const char* caller)
{
    static const std::array<scheme_operations, 3> schemes{{
        {QLatin1String("macOS"), [](auto& self) { self.extractor_macos->macos_find_artifacts_source(); },
         [](auto& self) { self.extractor_macos->macos_extract_artifacts(); }},
        {QLatin1String("iOS_UID"), [](auto& self) { self.extractor_ios_uid->ios_uid_find_artifacts_source(); },
         [](auto& self) { self.extractor_ios_uid->ios_uid_extract_artifacts(); }},
        {QLatin1String("winOS"), [](auto& self) { self.extractor_winos->winos_find_artifacts_source(); },
         [](auto& self) { self.extractor_winos->winos_extract_artifacts(); }},
    }};
    for (const scheme_operations& operations : schemes) {
        if (os_scheme_internal == operations.scheme) {
            return &operations;
        }
    }
    plugin_static_function::app_debug(
        QStringLiteral(
            "------FAILED------- supported os scheme internal not matched, received os scheme internal =  ") +
            os_scheme_internal + QStringLiteral(", plugin name is ") + pub_get_artifact_name(),
        caller);
    return nullptr;
}

QStringList apple_mail_extractor::additional_mail_versions() const
{
    return extractor_macos->additional_mail_versions();
}

void apple_mail_extractor::set_additional_mail_versions(const QStringList& versions)
{
    extractor_macos->set_additional_mail_versions(versions);
}

bool apple_mail_extractor::bulk_copying() const
{
    return extractor_macos->bulk_copying();
}

void apple_mail_extractor::set_bulk_copying(bool in_bulk)
{
    extractor_macos->set_bulk_copying(in_bulk);
}

bool apple_mail_extractor::bulk_sync() const
{
    return extractor_macos->bulk_sync();
}

void apple_mail_extractor::set_bulk_sync(bool syncs)
{
    extractor_macos->set_bulk_sync(syncs);
}

bool apple_mail_extractor::bulk_hashing() const
{
    return extractor_macos->bulk_hashing();
}

void apple_mail_extractor::set_bulk_hashing(bool hashes)
{
    extractor_macos->set_bulk_hashing(hashes);
}

QString apple_mail_extractor::plugin_version() const
{
    return QStringLiteral(APPLE_MAIL_EXTRACTOR_VERSION);
}

void apple_mail_extractor::slot_m_process_finished(int /*status*/)
{
    bool_process_finished = true;
}

void apple_mail_extractor::slot_extracted_records_of_plugin(qint64 rec)
{
    record_count = rec;
    emit signal_extracted_records_of_plugin_overall(rec);
}

void apple_mail_extractor::slot_total_tabs_processed(int tab_count)
{
    tab_processed_count = tab_count;
    emit signal_tab_processed_of_plugin_overall(tab_count);
}
