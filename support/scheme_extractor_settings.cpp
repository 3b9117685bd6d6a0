#include "support/scheme_extractor_settings.h"

void scheme_extractor_settings::keep_source_info(const struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info& source_info,
                                                 user_names kept_names)
{
    source_root_path = source_info.source_root_path;
    source_type_internal = source_info.source_type_internal;
    if (kept_names != user_names::none) {
        for (const auto& account : source_info.system_account_QList) {
            user_name_list.append(account.system_user);
            if (kept_names == user_names::system_and_domain_users) {
                user_name_list.append(account.domain_user);
            }
        }
        user_name_list.removeDuplicates();
        user_name_list.removeAll(QString());
    }
    os_scheme_display = source_info.os_scheme_display;
}

void scheme_extractor_settings::keep_destination(const QString& result_directory, const QString& tmp_directory,
                                                 const QString& db_path)
{
    destination_root_path = result_directory;
    copy_destination_path = tmp_directory;
    destination_db_path = db_path;
}
