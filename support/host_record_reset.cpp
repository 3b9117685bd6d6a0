#include "support/plugin_static_function.h"

void plugin_static_function::clear_variables_kavro_and_artifact_common_source_info(
    struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info& source_info)
{
    // The last two text fields outlive a reset.
    source_info.source_root_path.clear();
    source_info.source_type_internal.clear();
    source_info.text_field_7.clear();
    source_info.text_field_11.clear();
    source_info.text_field_8.clear();
    source_info.text_field_10.clear();
    source_info.text_list_9.clear();
    source_info.os_scheme_display.clear();
    source_info.os_scheme_internal.clear();
    source_info.source_os_version_full.clear();
    source_info.system_account_QList.clear();
}

void plugin_static_function::clear_variables_kavro_and_artifact_desktop_info(
    struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_desktop_info& desktop_info)
{
    desktop_info = {};
}

void plugin_static_function::clear_variables_kavro_and_artifact_common_general_info(
    struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_general_info& general_info)
{
    // The encryption switch outlives a reset, as it outlives set_essentials.
    general_info.general_flag_0 = false;
    general_info.debug_mode_status_bool = false;
    general_info.debug_print_on_terminal_bool = false;
    general_info.debug_print_in_file_bool = false;
    general_info.debug_file_path_QString.clear();
}
