#include "sample/sample_account_properties.h"

#include <QByteArray>
#include <QVariantList>

namespace {

bool has_provider(const sample_mail_account& account, const char* type)
{
    return qstrcmp(account.kind->provider_type, type) == 0;
}

bool is_icloud(const sample_mail_account& account)
{
    return has_provider(account, "com.apple.account.AppleAccount");
}

bool is_exchange(const sample_mail_account& account)
{
    return has_provider(account, "com.apple.account.Exchange");
}

QString sending_host(const sample_mail_account& account)
{
    return is_icloud(account) ? QStringLiteral("smtp.mail.me.com") : QStringLiteral("smtp.") + account.domain;
}

/// Google's list their addresses as dictionaries, the others as texts; both are met.
QVariantList aliases(const sample_mail_account& account, const QString& full_name, const QString& address)
{
    const QString further = account.login + QStringLiteral("+lists@") + account.domain;
    const bool as_dictionaries = has_provider(account, "com.apple.account.Google");
    const auto listed = [as_dictionaries](const QString& one, bool is_default) {
        return as_dictionaries ? QVariant(QVariantMap{{QStringLiteral("EmailAddress"), one},
                                                      {QStringLiteral("IsDefault"), is_default}})
                               : QVariant(one);
    };
    return {
        QVariantMap{{QStringLiteral("DisplayName"), full_name},
                    {QStringLiteral("IsEnabled"), true},
                    {QStringLiteral("IsPrimary"), true},
                    {QStringLiteral("EmailAddresses"), QVariantList{listed(address, true), listed(further, false)}}}};
}

} // namespace

QList<sample_property> mail_account_properties(const sample_mail_account& account, const QString& full_name,
                                               const QString& address, const QString& sending_identifier)
{
    QList<sample_property> properties{
        {QStringLiteral("IdentityEmailAddress"), address},
        {QStringLiteral("ACPropertyFullName"), full_name},
        {QStringLiteral("EmailAliases"), aliases(account, full_name, address)},
        {QStringLiteral("SendingAccountIdentifier"), is_exchange(account) ? account.identifier : sending_identifier},
        {QStringLiteral("lastAuthenticationServerResponse"), QByteArray("token-that-nobody-may-see")}};
    if (is_icloud(account)) {
        properties.append({QStringLiteral("UseMailDrop"), true});
        return properties;
    }
    if (is_exchange(account)) {
        properties.append(
            {QStringLiteral("EWSExternalURL"), QStringLiteral("https://%1/EWS/Exchange.asmx").arg(account.host)});
        return properties;
    }
    properties.append({QStringLiteral("Hostname"), account.host});
    properties.append({QStringLiteral("PortNumber"), account.kind->port});
    properties.append({QStringLiteral("SSLEnabled"), true});
    properties.append({QStringLiteral("SSLIsDirect"), true});
    properties.append({QStringLiteral("AuthenticationScheme"), QStringLiteral("PLAIN")});
    return properties;
}

QList<sample_property> sending_account_properties(const sample_mail_account& account)
{
    if (is_icloud(account) || is_exchange(account)) {
        return {};
    }
    return {{QStringLiteral("Hostname"), sending_host(account)},
            {QStringLiteral("PortNumber"), 587},
            {QStringLiteral("SSLEnabled"), true},
            {QStringLiteral("SSLIsDirect"), false}};
}

QVariantMap data_class_dictionaries(const sample_mail_account& account, const QString& address)
{
    QVariantMap mail{{QStringLiteral("status"), QStringLiteral("active")}};
    if (is_icloud(account)) {
        mail = {{QStringLiteral("EmailAddress"), address},
                {QStringLiteral("imapHostname"), account.host},
                {QStringLiteral("imapPort"), account.kind->port},
                {QStringLiteral("imapRequiresSSL"), true},
                {QStringLiteral("smtpHostname"), sending_host(account)},
                {QStringLiteral("smtpPort"), 587},
                {QStringLiteral("smtpRequiresSSL"), true},
                {QStringLiteral("mmeAuthToken"), QStringLiteral("token-that-nobody-may-see")}};
    }
    return {{QStringLiteral("com.apple.Dataclass.Mail"), mail},
            {QStringLiteral("com.apple.Dataclass.Notes"), QVariantMap{}}};
}
