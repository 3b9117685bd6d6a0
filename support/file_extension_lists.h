#pragma once

#include <array>
#include <string_view>

/// The known extensions of one kind of file: a text a bucket ("0" to "9", then "a" to "z"), its entries separated by
/// one blank, each in lower case with a leading dot.
using file_extension_list = std::array<std::string_view, 36>;

extern const file_extension_list image_file_extensions;
extern const file_extension_list audio_file_extensions;
extern const file_extension_list video_file_extensions;
