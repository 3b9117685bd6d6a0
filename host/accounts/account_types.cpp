#include "host/accounts/account_types.h"

#include <algorithm>
#include <array>

namespace {

const QLatin1String prefix("com.apple.account.");

constexpr std::array<account_type, 14> types{{
    {"IMAP", "IMAP", true, false, true},
    {"POP", "POP", true, false, true},
    {"Exchange", "Exchange", true, true, false},
    {"IMAPMail", "iCloud", true, false, true},
    {"Google", "Google", true, true, false},
    {"Yahoo", "Yahoo", true, true, false},
    {"Hotmail", "Outlook", true, true, false},
    {"AppleAccount", "iCloud", true, true, true},
    {"SMTP", "SMTP", true, false, true},
    {"OnMyDevice", "local", true, false, false},
    {"LocalOnMyMac", "local", true, false, false},
    {"IMAPNotes", "Notes", false, false, false},
    {"CalDAV", "CalDAV", false, false, false},
    {"CardDAV", "CardDAV", false, false, false},
}};

} // namespace

const account_type* find_account_type(const QString& identifier)
{
    if (!identifier.startsWith(prefix)) {
        return nullptr;
    }
    const QStringView name = QStringView(identifier).mid(prefix.size());
    const auto found = std::find_if(types.begin(), types.end(),
                                    [&](const account_type& type) { return name == QLatin1String(type.identifier); });
    return found == types.end() ? nullptr : &*found;
}

QString account_type_words(const QString& identifier)
{
    const account_type* type = find_account_type(identifier);
    return type ? QString::fromLatin1(type->words) : identifier;
}
