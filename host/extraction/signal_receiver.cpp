#include "host/extraction/signal_receiver.h"

#include "host/terminal/interruption.h"
#include "plugin/apple_mail_extractor.h"

signal_receiver::signal_receiver(apple_mail_extractor& plugin_object, std::function<void(file_amount)> copied_callback,
                                 std::function<void(const copied_file& file)> file_callback,
                                 std::function<void()> all_files_callback)
    : plugin(plugin_object)
    , on_copied(std::move(copied_callback))
    , on_file(std::move(file_callback))
    , on_all_files(std::move(all_files_callback))
{
    // Connected by name, because the plug-in's symbols are not linked.
    connect(&plugin, SIGNAL(signal_extracted_records_of_plugin_overall(qint64)), SLOT(slot_records(qint64)));
    connect(&plugin, SIGNAL(signal_tab_processed_of_plugin_overall(int)), SLOT(slot_tabs(int)));
    connect(&plugin, SIGNAL(signal_copy_progress_of_plugin_overall(qint64, qint64)), SLOT(slot_copied(qint64, qint64)));
    connect(&plugin, SIGNAL(signal_copied_file_of_plugin_overall(copied_file)), SLOT(slot_file(copied_file)));
    connect(&plugin, SIGNAL(signal_bulk_copied_of_plugin_overall()), SLOT(slot_all_files()));
}

void signal_receiver::slot_records(qint64 records)
{
    row_count = records;
    cancel_when_interrupted();
}

void signal_receiver::slot_tabs(int /*tab_count*/)
{
    cancel_when_interrupted();
}

void signal_receiver::slot_copied(qint64 files, qint64 bytes)
{
    on_copied({files, bytes});
    cancel_when_interrupted();
}

void signal_receiver::slot_file(const copied_file& file)
{
    on_file(file);
}

void signal_receiver::slot_all_files()
{
    on_all_files();
}

void signal_receiver::cancel_when_interrupted()
{
    if (interruption::requested()) {
        plugin.pub_cancel_extraction();
    }
}
