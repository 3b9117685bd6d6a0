#include "macos/account_folder_names.h"

#include <QStringList>

#include <array>

namespace {

const QLatin1String imap_prefix("IMAP-");
const QLatin1String pop_prefix("POP-");
const QLatin1String imap_host("imap.");
const QLatin1String pop_host("pop3.");

/// What one kind of folder begins with, and the texts to remove from its name.
struct folder_kind
{
    QLatin1String type;
    std::array<QLatin1String, 2> removed;
};

const std::array<folder_kind, 2> folder_kinds{{
    {QLatin1String("IMAP"), {imap_prefix, imap_host}},
    {QLatin1String("POP"), {pop_prefix, QLatin1String("@pop3.live.com")}},
}};

} // namespace

std::optional<QString> candidate_from_folder_name(QString name)
{
    if (!name.startsWith(imap_prefix) && !name.startsWith(pop_prefix)) {
        return name;
    }
    if (name.startsWith(imap_prefix)) {
        name.remove(imap_prefix);
    }
    if (name.startsWith(pop_prefix)) {
        name.remove(pop_prefix);
    }
    const QStringList parts = name.split(QLatin1Char('@'));
    if (parts.size() < 2) {
        return std::nullopt;
    }
    if (parts.size() == 2) {
        name.remove(imap_host);
        name.remove(pop_host);
    } else {
        // A full address as user name: what follows it is the server.
        name.remove(QLatin1Char('@') + parts.at(2));
    }
    return name;
}

std::optional<folder_account> account_from_folder_name(QStringView name)
{
    for (const folder_kind& kind : folder_kinds) {
        if (!name.startsWith(kind.type)) {
            continue;
        }
        folder_account account{name.toString(), kind.type};
        for (const QLatin1String& text : kind.removed) {
            account.account.remove(text);
        }
        return account;
    }
    return std::nullopt;
}
