#include "host/source/folder_names.h"

#include <algorithm>

namespace {

bool is_digit(char character)
{
    return character >= '0' && character <= '9';
}

bool is_uuid(const QByteArray& name)
{
    if (name.size() != 36) {
        return false;
    }
    for (qsizetype position = 0; position < name.size(); ++position) {
        const char character = name[position];
        const bool is_hyphen_place = position == 8 || position == 13 || position == 18 || position == 23;
        const bool is_hexadecimal =
            is_digit(character) || (character >= 'a' && character <= 'f') || (character >= 'A' && character <= 'F');
        if (is_hyphen_place ? character != '-' : !is_hexadecimal) {
            return false;
        }
    }
    return true;
}

} // namespace

folder_naming naming_of(const QByteArray& name)
{
    if (is_uuid(name)) {
        return folder_naming::identifier;
    }
    if (name.startsWith("IMAP")) {
        return folder_naming::imap;
    }
    if (name.startsWith("POP")) {
        return folder_naming::pop;
    }
    return folder_naming::other;
}

bool is_version_name(const QByteArray& name)
{
    return name.size() > 1 && name.startsWith('V') && std::all_of(name.begin() + 1, name.end(), is_digit);
}
