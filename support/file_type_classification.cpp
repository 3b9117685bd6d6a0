#include "support/file_extension_lists.h"
#include "support/plugin_helper_functions.h"

#include <cstddef>
#include <optional>

namespace {

/// Returns what follows the last "." of a file name, in lower case; empty when the name has no extension.
QString extension_of(const QString& file_name)
{
    if (file_name.endsWith(u'.')) {
        return {};
    }
    const QString name = file_name.toLower().trimmed();
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot < 0 ? QString() : name.mid(dot + 1);
}

/// Returns the bucket for extensions that begin with a character; empty for any but "0" to "9" and "a" to "z".
std::optional<std::size_t> bucket_index(QChar first)
{
    const char16_t character = first.unicode();
    if (character >= u'0' && character <= u'9') {
        return character - u'0';
    }
    if (character >= u'a' && character <= u'z') {
        return 10 + (character - u'a');
    }
    return std::nullopt;
}

/// True when the list holds the extension of a file name; the cancel flag is polled before each entry.
bool holds_extension_of(const plugin_helper_functions::extension_buckets& buckets, const QString& file_name,
                        const bool& cancel_requested)
{
    const QString extension = extension_of(file_name);
    const auto index = extension.isEmpty() ? std::nullopt : bucket_index(extension.front());
    if (!index) {
        return false;
    }
    for (const QString& entry : buckets[*index]) {
        if (cancel_requested) {
            return false;
        }
        if (QStringView(entry).mid(1) == extension) {
            return true;
        }
    }
    return false;
}

void fill(plugin_helper_functions::extension_buckets& buckets, const file_extension_list& extensions)
{
    for (std::size_t index = 0; index < buckets.size(); ++index) {
        const std::string_view text = extensions[index];
        buckets[index] =
            QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size())).split(u' ', Qt::SkipEmptyParts);
    }
}

} // namespace

void plugin_helper_functions::initialize_image_extension_list()
{
    fill(image_extension_buckets, image_file_extensions);
}

void plugin_helper_functions::initialize_audio_extension_list()
{
    fill(audio_extension_buckets, audio_file_extensions);
}

void plugin_helper_functions::initialize_video_extension_list()
{
    fill(video_extension_buckets, video_file_extensions);
}

bool plugin_helper_functions::check_is_image_by_extn(QString file_name)
{
    return holds_extension_of(image_extension_buckets, file_name, cancel_requested);
}

bool plugin_helper_functions::check_is_audio_by_extn(QString file_name)
{
    return holds_extension_of(audio_extension_buckets, file_name, cancel_requested);
}

bool plugin_helper_functions::check_is_video_by_extn(QString file_name)
{
    // The video list ends at "h"; what it does not know counts as video when it is audio. A lookup that was cancelled,
    // or that has no bucket, ends the same way in the audio list.
    return holds_extension_of(video_extension_buckets, file_name, cancel_requested) ||
           check_is_audio_by_extn(file_name);
}
