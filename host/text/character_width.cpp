#include "host/text/character_width.h"

#include <QChar>

#include <algorithm>
#include <array>
#include <iterator>

namespace {

struct character_range
{
    char32_t first;
    char32_t last;
};

/// What Unicode's East Asian Width calls wide or fullwidth, in blocks; unassigned characters in between count with
/// them. Sorted.
constexpr std::array wide_ranges = {
    character_range{0x1100, 0x115F},   character_range{0x231A, 0x231B},   character_range{0x2329, 0x232A},
    character_range{0x23E9, 0x23EC},   character_range{0x23F0, 0x23F0},   character_range{0x23F3, 0x23F3},
    character_range{0x25FD, 0x25FE},   character_range{0x2614, 0x2615},   character_range{0x2648, 0x2653},
    character_range{0x267F, 0x267F},   character_range{0x2693, 0x2693},   character_range{0x26A1, 0x26A1},
    character_range{0x26AA, 0x26AB},   character_range{0x26BD, 0x26BE},   character_range{0x26C4, 0x26C5},
    character_range{0x26CE, 0x26CE},   character_range{0x26D4, 0x26D4},   character_range{0x26EA, 0x26EA},
    character_range{0x26F2, 0x26F3},   character_range{0x26F5, 0x26F5},   character_range{0x26FA, 0x26FA},
    character_range{0x26FD, 0x26FD},   character_range{0x2705, 0x2705},   character_range{0x270A, 0x270B},
    character_range{0x2728, 0x2728},   character_range{0x274C, 0x274C},   character_range{0x274E, 0x274E},
    character_range{0x2753, 0x2755},   character_range{0x2757, 0x2757},   character_range{0x2795, 0x2797},
    character_range{0x27B0, 0x27B0},   character_range{0x27BF, 0x27BF},   character_range{0x2B1B, 0x2B1C},
    character_range{0x2B50, 0x2B50},   character_range{0x2B55, 0x2B55},   character_range{0x2E80, 0x303E},
    character_range{0x3041, 0x33FF},   character_range{0x3400, 0x4DBF},   character_range{0x4E00, 0xA4CF},
    character_range{0xA960, 0xA97F},   character_range{0xAC00, 0xD7A3},   character_range{0xF900, 0xFAFF},
    character_range{0xFE10, 0xFE19},   character_range{0xFE30, 0xFE6F},   character_range{0xFF01, 0xFF60},
    character_range{0xFFE0, 0xFFE6},   character_range{0x16FE0, 0x18DFF}, character_range{0x1AFF0, 0x1B2FF},
    character_range{0x1F004, 0x1F004}, character_range{0x1F0CF, 0x1F0CF}, character_range{0x1F18E, 0x1F18E},
    character_range{0x1F191, 0x1F19A}, character_range{0x1F200, 0x1F320}, character_range{0x1F32D, 0x1F335},
    character_range{0x1F337, 0x1F37C}, character_range{0x1F37E, 0x1F393}, character_range{0x1F3A0, 0x1F3CA},
    character_range{0x1F3CF, 0x1F3D3}, character_range{0x1F3E0, 0x1F3F0}, character_range{0x1F3F4, 0x1F3F4},
    character_range{0x1F3F8, 0x1F43E}, character_range{0x1F440, 0x1F440}, character_range{0x1F442, 0x1F4FC},
    character_range{0x1F4FF, 0x1F53D}, character_range{0x1F54B, 0x1F54E}, character_range{0x1F550, 0x1F567},
    character_range{0x1F57A, 0x1F57A}, character_range{0x1F595, 0x1F596}, character_range{0x1F5A4, 0x1F5A4},
    character_range{0x1F5FB, 0x1F64F}, character_range{0x1F680, 0x1F6C5}, character_range{0x1F6CC, 0x1F6CC},
    character_range{0x1F6D0, 0x1F6D2}, character_range{0x1F6D5, 0x1F6DF}, character_range{0x1F6EB, 0x1F6EC},
    character_range{0x1F6F4, 0x1F6FC}, character_range{0x1F7E0, 0x1F7F0}, character_range{0x1F90C, 0x1F93A},
    character_range{0x1F93C, 0x1F945}, character_range{0x1F947, 0x1F9FF}, character_range{0x1FA70, 0x1FAFF},
    character_range{0x20000, 0x3FFFD},
};

/// The vowels and final consonants of decomposed Korean, which join the consonant before them.
constexpr std::array joining_ranges = {
    character_range{0x1160, 0x11FF},
    character_range{0xD7B0, 0xD7FF},
};

template <typename Ranges>
bool lies_in(const Ranges& ranges, char32_t character)
{
    const auto after =
        std::upper_bound(ranges.begin(), ranges.end(), character,
                         [](char32_t value, const character_range& range) { return value < range.first; });
    return after != ranges.begin() && character <= std::prev(after)->last;
}

} // namespace

bool is_combining(char32_t character)
{
    const QChar::Category category = QChar::category(character);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing ||
           lies_in(joining_ranges, character);
}

qsizetype character_width(char32_t character)
{
    if (is_combining(character)) {
        return 0;
    }
    return lies_in(wide_ranges, character) ? 2 : 1;
}
