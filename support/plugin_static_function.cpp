#include "support/plugin_static_function.h"

bool plugin_static_function::debug_mode_status_bool = false;
bool plugin_static_function::debug_print_on_terminal_bool = false;
bool plugin_static_function::debug_print_in_file_bool = false;
bool plugin_static_function::debug_encryption_status_bool = false;
QString plugin_static_function::debug_file_path_QString;
QFile plugin_static_function::debug_file_regular_QFile;
int plugin_static_function::type_engine_int = -1;
bool plugin_static_function::bool_cancel_extraction = false;
int plugin_static_function::source_count_int = -1;
QString plugin_static_function::source_os_version_full;
QList<struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_system_account> plugin_static_function::system_account_QList;

plugin_static_function::plugin_static_function(QWidget* parent) : QWidget(parent) {}

void plugin_static_function::set_essentials()
{
    debug_file_path_QString.clear();
    type_engine_int = -1;
    bool_cancel_extraction = false;
    source_count_int = -1;
    debug_mode_status_bool = false;
    debug_print_in_file_bool = false;
    debug_print_on_terminal_bool = false;
    system_account_QList.clear();
}

void plugin_static_function::set_engine_type(int type)
{
    type_engine_int = type;
}

void plugin_static_function::set_cancel_extraction(bool cancel)
{
    bool_cancel_extraction = cancel;
}

void plugin_static_function::set_source_count(int count)
{
    source_count_int = count;
}

void plugin_static_function::set_source_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info source_info)
{
    source_os_version_full = source_info.source_os_version_full;
    system_account_QList = source_info.system_account_QList;
}

void plugin_static_function::set_desktop_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_desktop_info /*desktop_info*/) {}
