#include "host/accounts/account_properties.h"

#include "host/accounts/keyed_archive.h"

#include <QUrl>

#include <algorithm>
#include <array>

namespace {

enum class shape
{
    text,
    number,
    flag,
    addresses,
    url
};

struct known_property
{
    const char* key;
    shape form;
    bool is_setting = false;
};

constexpr std::array known_properties{
    known_property{"Hostname", shape::text},
    known_property{"PortNumber", shape::number},
    known_property{"SSLEnabled", shape::flag},
    known_property{"SSLIsDirect", shape::flag},
    known_property{"SendingAccountIdentifier", shape::text},
    known_property{"IdentityEmailAddress", shape::text},
    known_property{"ACPropertyFullName", shape::text},
    known_property{"FullUserName", shape::text},
    known_property{"firstName", shape::text},
    known_property{"lastName", shape::text},
    known_property{"EmailAliases", shape::addresses},
    known_property{"appleIDAliases", shape::addresses},
    known_property{"primaryEmail", shape::text},
    known_property{"AuthenticationScheme", shape::text},
    known_property{"EWSExternalURL", shape::url},
    known_property{"EWSInternalURL", shape::url, true},
    known_property{"ServerPath", shape::text, true},
    known_property{"UseMailDrop", shape::flag, true},
    known_property{"StoreSentMessagesOnServer", shape::flag, true},
    known_property{"StoreDraftsOnServer", shape::flag, true},
    known_property{"StoreTrashOnServer", shape::flag, true},
    known_property{"StoreArchiveOnServer", shape::flag, true},
    known_property{"AllowsInsecureAuthentication", shape::flag, true},
    known_property{"DisableDynamicConfiguration", shape::flag, true},
    known_property{"messageCaching", shape::text, true},
};

constexpr std::array mail_entries{
    known_property{"EmailAddress", shape::text},    known_property{"imapHostname", shape::text},
    known_property{"imapPort", shape::number},      known_property{"imapRequiresSSL", shape::flag},
    known_property{"smtpHostname", shape::text},    known_property{"smtpPort", shape::number},
    known_property{"smtpRequiresSSL", shape::flag},
};

constexpr qsizetype longest_text = 1000;
constexpr qsizetype most_addresses = 100;
constexpr qsizetype most_other_keys = 200;

template <typename table_type>
const known_property* find(const table_type& table, const QString& key)
{
    const auto found = std::find_if(table.begin(), table.end(), [&key](const known_property& property) {
        return key == QLatin1String(property.key);
    });
    return found == table.end() ? nullptr : &*found;
}

QVariant shown_text(const QVariant& value)
{
    const bool is_text = value.typeId() == QMetaType::QString && value.toString().size() <= longest_text;
    return is_text ? value : QVariant();
}

void collect_addresses(const QVariant& value, int depth, QStringList& found)
{
    if (depth > 4 || found.size() >= most_addresses) {
        return;
    }
    if (value.typeId() == QMetaType::QString) {
        if (value.toString().contains(u'@') && value.toString().size() <= longest_text) {
            found.append(value.toString());
        }
        return;
    }
    if (value.typeId() == QMetaType::QVariantList) {
        for (const QVariant& item : value.toList()) {
            collect_addresses(item, depth + 1, found);
        }
        return;
    }
    // An alias names its addresses as texts or as dictionaries of one each; its display name may look like one.
    const QVariantMap map = value.toMap();
    collect_addresses(map.value(QStringLiteral("EmailAddresses")), depth + 1, found);
    collect_addresses(map.value(QStringLiteral("EmailAddress")), depth + 1, found);
}

/// The address marked as the primary one goes first.
QVariant shown_addresses(const QVariant& value)
{
    QStringList first;
    QStringList others;
    for (const QVariant& alias : value.toList()) {
        const QVariantMap map = alias.toMap();
        const bool is_first = map.value(QStringLiteral("IsPrimary")).toBool();
        collect_addresses(alias, 0, is_first ? first : others);
    }
    return value.typeId() == QMetaType::QVariantList ? QVariant(first + others) : QVariant();
}

QVariant shown_url(const QVariant& value)
{
    const QUrl url(value.toString());
    if (shown_text(value).isNull() || !url.isValid() || url.host().isEmpty()) {
        return {};
    }
    return url.toString(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
}

QVariant shown_as(shape form, const QVariant& value)
{
    const int type = value.typeId();
    switch (form) {
    case shape::text:
        return shown_text(value);
    case shape::number:
        return type == QMetaType::LongLong ? value : QVariant();
    case shape::flag:
        return type == QMetaType::Bool || type == QMetaType::LongLong ? QVariant(value.toBool()) : QVariant();
    case shape::addresses:
        return shown_addresses(value);
    case shape::url:
        return shown_url(value);
    }
    return {};
}

void add_other(QList<std::pair<QString, QString>>& others, const QString& key, const QVariant& value)
{
    if (others.size() < most_other_keys) {
        others.append({key.left(longest_text), archived_type({value, {}})});
    }
}

} // namespace

QVariant shown_property(const QString& key, const QVariant& value)
{
    const known_property* known = find(known_properties, key);
    return known ? shown_as(known->form, value) : QVariant();
}

bool is_shown_property(const QString& key)
{
    return find(known_properties, key) != nullptr;
}

bool is_setting(const QString& key)
{
    const known_property* known = find(known_properties, key);
    return known && known->is_setting;
}

QVariantMap shown_mail_dictionary(const QVariant& dictionaries, QList<std::pair<QString, QString>>& others)
{
    const QString mail_class = QStringLiteral("com.apple.Dataclass.Mail");
    QVariantMap shown;
    const QVariantMap all = dictionaries.toMap();
    for (auto entry = all.begin(); entry != all.end(); ++entry) {
        if (entry.key() != mail_class) {
            add_other(others, entry.key(), entry.value());
        }
    }
    const QVariantMap mail = all.value(mail_class).toMap();
    for (auto entry = mail.begin(); entry != mail.end(); ++entry) {
        const known_property* known = find(mail_entries, entry.key());
        const QVariant value = known ? shown_as(known->form, entry.value()) : QVariant();
        if (value.isValid()) {
            shown.insert(entry.key(), value);
        } else {
            add_other(others, mail_class + u'.' + entry.key(), entry.value());
        }
    }
    return shown;
}
