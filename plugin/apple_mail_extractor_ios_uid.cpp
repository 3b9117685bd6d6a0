#include "plugin/apple_mail_extractor_ios_uid.h"

apple_mail_extractor_ios_uid::apple_mail_extractor_ios_uid(QWidget* parent) : QWidget(parent) {}

void apple_mail_extractor_ios_uid::ios_uid_find_artifacts_source()
{
    find_source_file();
}

void apple_mail_extractor_ios_uid::ios_uid_extract_artifacts()
{
    elapsed_timer.start();
    extract_plugin_artifacts();
    emit signal_extracted_records_of_plugin_ios_uid(record_count);
}

void apple_mail_extractor_ios_uid::find_source_file() {}

void apple_mail_extractor_ios_uid::extract_plugin_artifacts() {}
