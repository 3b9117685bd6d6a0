#include "support/plugin_helper_functions.h"

plugin_helper_functions::plugin_helper_functions(QWidget* /*parent*/)
{
    initialize_image_extension_list();
    initialize_audio_extension_list();
    initialize_video_extension_list();
}

void plugin_helper_functions::set_essentials()
{
    cancel_requested = false;
}

void plugin_helper_functions::set_cancel_extraction(bool cancel)
{
    cancel_requested = cancel;
}

void plugin_helper_functions::set_adhoc_parent_path(QString path)
{
    adhoc_parent_path = path;
}
