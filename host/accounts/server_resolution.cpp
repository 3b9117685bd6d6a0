#include "host/accounts/server_resolution.h"

#include "host/accounts/account_types.h"

#include <QUrl>

namespace {

/// What a server's fields are called in a dictionary of the Mail data class.
struct dictionary_keys
{
    const char* host;
    const char* port;
    const char* security;
};

constexpr dictionary_keys incoming_keys{"imapHostname", "imapPort", "imapRequiresSSL"};
constexpr dictionary_keys outgoing_keys{"smtpHostname", "smtpPort", "smtpRequiresSSL"};

/// A server with the source of each of its fields.
struct sourced_server
{
    account_server server;
    QMap<QString, value_source> sources; ///< by field: "host"

    bool has(const char* field) const { return sources.contains(QLatin1String(field)); }
    void note(const char* field, const char* origin, const QString& raw)
    {
        sources.insert(QLatin1String(field), {QLatin1String(origin), raw});
    }
};

QString raw_of(const char* key, const QVariant& value)
{
    return QStringLiteral("%1 = %2").arg(QLatin1String(key), value.toString());
}

QVariant value_of(const QVariantMap& map, const char* key)
{
    return map.value(QLatin1String(key));
}

/// "SSLIsDirect" tells how the security begins and speaks for itself where "SSLEnabled" is not there.
void take_own_security(const QVariantMap& properties, sourced_server& found)
{
    const QVariant enabled = value_of(properties, "SSLEnabled");
    const QVariant direct = value_of(properties, "SSLIsDirect");
    if (!enabled.isValid() && !direct.isValid()) {
        return;
    }
    QStringList raw;
    for (const char* key : {"SSLEnabled", "SSLIsDirect"}) {
        if (value_of(properties, key).isValid()) {
            raw.append(raw_of(key, value_of(properties, key)));
        }
    }
    const bool is_off = enabled.isValid() && !enabled.toBool();
    const bool begins_plain = direct.isValid() && !direct.toBool();
    found.server.security = is_off         ? QStringLiteral("none")
                            : begins_plain ? QStringLiteral("STARTTLS")
                                           : QStringLiteral("TLS");
    found.note("security", account_origin::own_property, raw.join(u"; "));
}

void take_own_properties(const QVariantMap& properties, sourced_server& found)
{
    if (const QString host = value_of(properties, "Hostname").toString(); !host.isEmpty()) {
        found.server.host = host;
        found.note("host", account_origin::own_property, raw_of("Hostname", host));
    }
    if (const QVariant port = value_of(properties, "PortNumber"); port.isValid()) {
        found.server.port = port.toLongLong();
        found.note("port", account_origin::own_property, raw_of("PortNumber", port));
    }
    take_own_security(properties, found);
    if (const QString scheme = value_of(properties, "AuthenticationScheme").toString(); !scheme.isEmpty()) {
        found.server.authentication = scheme;
        found.note("authentication", account_origin::own_property, raw_of("AuthenticationScheme", scheme));
    }
}

/// Fills what is still unknown; a port or a security alone names no server.
void take_dictionary(const QVariantMap& dictionary, const dictionary_keys& keys, const char* origin,
                     sourced_server& found)
{
    const QString host = value_of(dictionary, keys.host).toString();
    if (host.isEmpty() || (found.has("host") && found.server.host.compare(host, Qt::CaseInsensitive) != 0)) {
        return;
    }
    if (!found.has("host")) {
        found.server.host = host;
        found.note("host", origin, raw_of(keys.host, host));
    }
    const QVariant port = value_of(dictionary, keys.port);
    if (!found.has("port") && port.isValid()) {
        found.server.port = port.toLongLong();
        found.note("port", origin, raw_of(keys.port, port));
    }
    const QVariant security = value_of(dictionary, keys.security);
    if (!found.has("security") && security.isValid()) {
        found.server.security = security.toBool() ? QStringLiteral("TLS") : QStringLiteral("none");
        found.note("security", origin, raw_of(keys.security, security));
    }
}

void take_exchange_url(const QVariantMap& properties, sourced_server& found)
{
    const QString text = value_of(properties, "EWSExternalURL").toString();
    const QUrl url(text);
    if (text.isEmpty() || (found.has("host") && found.server.host.compare(url.host(), Qt::CaseInsensitive) != 0)) {
        return;
    }
    const QString raw = raw_of("EWSExternalURL", text);
    const bool is_plain = url.scheme() == QLatin1String("http");
    if (!found.has("host")) {
        found.server.host = url.host();
        found.note("host", account_origin::exchange_url, raw);
    }
    if (!found.has("port")) {
        found.server.port = url.port(is_plain ? 80 : 443);
        found.note("port", account_origin::exchange_url, raw);
    }
    if (!found.has("security")) {
        found.server.security = is_plain ? QStringLiteral("none") : QStringLiteral("TLS");
        found.note("security", account_origin::exchange_url, raw);
    }
}

/// The server that an account's own row, or else its parent's dictionary, names.
sourced_server server_of(const account_store_content& store, const store_account& account, const dictionary_keys& keys)
{
    sourced_server found;
    take_own_properties(account.properties, found);
    const account_type* type = find_account_type(store.type_of(account));
    if (type && type->takes_mail_dictionary) {
        take_dictionary(account.mail_dictionary, keys, account_origin::own_dictionary, found);
        if (const store_account* parent = store.parent_of(account)) {
            take_dictionary(parent->mail_dictionary, keys, account_origin::parents_dictionary, found);
        }
    }
    take_exchange_url(account.properties, found);
    return found;
}

sourced_server sending_server(const account_store_content& store, const QHash<QString, std::size_t>& by_identifier,
                              const store_account& account, account_record& record)
{
    sourced_server found;
    const QString identifier = value_of(account.properties, "SendingAccountIdentifier").toString();
    const auto sender = identifier.isEmpty() ? by_identifier.constEnd() : by_identifier.constFind(identifier.toUpper());
    if (sender != by_identifier.constEnd()) {
        const store_account& sending = store.accounts[*sender];
        const bool is_itself = &sending == &account;
        found = server_of(store, sending, is_itself ? incoming_keys : outgoing_keys);
        for (value_source& source : found.sources) {
            if (!is_itself && source.origin == QLatin1String(account_origin::own_property)) {
                source.origin = QLatin1String(account_origin::sending_property);
            }
        }
    } else if (!identifier.isEmpty()) {
        record.marks.append(QStringLiteral("the account that it sends with (%1) is not in the store").arg(identifier));
    }
    const account_type* type = find_account_type(store.type_of(account));
    if (type && type->takes_mail_dictionary) {
        take_dictionary(account.mail_dictionary, outgoing_keys, account_origin::own_dictionary, found);
        if (const store_account* parent = store.parent_of(account)) {
            take_dictionary(parent->mail_dictionary, outgoing_keys, account_origin::parents_dictionary, found);
        }
    }
    return found;
}

void put(const QString& name, const sourced_server& found, account_server& server, account_record& record)
{
    server = found.server;
    for (auto source = found.sources.begin(); source != found.sources.end(); ++source) {
        record.sources.insert(name + u'.' + source.key(), source.value());
    }
}

} // namespace

void resolve_servers(const account_store_content& store, const QHash<QString, std::size_t>& by_identifier,
                     const store_account& account, account_record& record)
{
    // An account for sending has no other server than the one it sends by.
    if (record.type == QLatin1String("SMTP")) {
        put(QStringLiteral("outgoing"), server_of(store, account, outgoing_keys), record.outgoing, record);
        return;
    }
    put(QStringLiteral("incoming"), server_of(store, account, incoming_keys), record.incoming, record);
    put(QStringLiteral("outgoing"), sending_server(store, by_identifier, account, record), record.outgoing, record);
}
