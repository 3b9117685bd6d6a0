#include "support/plugin_helper_functions.h"
#include "support/plugin_static_function.h"
#include "tests/fuzz/fuzz_target.h"

using plugin = plugin_static_function;

namespace {

bool is_empty_or_integer(const QString& text)
{
    bool is_integer = false;
    text.toLongLong(&is_integer);
    return text.isEmpty() || is_integer;
}

void convert_times(const QString& text)
{
    for (QString (*convert)(QString) :
         {&plugin::convert_apple_time_to_epoch, &plugin::convert_human_readable_to_epoch_1,
          &plugin::convert_human_readable_to_epoch_2, &plugin::convert_human_readable_to_epoch_3,
          &plugin::convert_T_Z_time_to_epoch}) {
        require(is_empty_or_integer(convert(text)));
    }
    const QString google_time = plugin::convert_google_time_to_epoch(text);
    require(google_time == text || is_empty_or_integer(google_time));
    plugin::convert_timezone_to_seconds(text);
}

void convert_texts(const QString& text)
{
    const QString date = plugin::convert_timestamp_to_human_readable_in_UTC(text);
    require(date.isEmpty() || date.size() == 20);
    const QString duration = plugin::get_human_readable_time(text);
    require(duration.isEmpty() || duration.endsWith(u" Min") || duration.endsWith(u" Hrs"));
    require(plugin::human_readable_size(text).isEmpty() == text.trimmed().isEmpty());
    require(!plugin::mining_suffix(text).contains(u'.'));
    const QString decoded = plugin::convert_string_to_unicode(text);
    require(text.contains(u"\\U") || decoded == text.trimmed());
}

} // namespace

fuzz_plan plan()
{
    return {128,
            {"2024-03-05T14:07:09.123+0100", "13351234567890123", "\\U", "+01:00", "Z", ".", "2024", "-", "e9",
             "9223372036854775807", "PM", "Mar", ".jpg", ".mp4"},
            {"2024-03-05T14:07:09Z", "2024-03-05 14:07:09", "726842829.5", "13351234567890123", "a\\U00e4b", "x.jpg"}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static plugin_helper_functions helper(nullptr);
    const QString text = QString::fromUtf8(bytes_of(data, size));
    convert_times(text);
    convert_texts(text);
    require(!helper.check_is_audio_by_extn(text) || helper.check_is_video_by_extn(text));
    helper.check_is_image_by_extn(text);
    return 0;
}
