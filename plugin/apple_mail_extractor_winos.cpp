#include "plugin/apple_mail_extractor_winos.h"

apple_mail_extractor_winos::apple_mail_extractor_winos(QWidget* parent) : QWidget(parent) {}

void apple_mail_extractor_winos::winos_find_artifacts_source()
{
    find_source_file();
}

void apple_mail_extractor_winos::winos_extract_artifacts()
{
    elapsed_timer.start();
    extract_plugin_artifacts();
    emit signal_extracted_records_of_plugin_winos(record_count);
}

void apple_mail_extractor_winos::find_source_file() {}

void apple_mail_extractor_winos::extract_plugin_artifacts() {}
