#include "host/accounts/account_records.h"

#include "host/accounts/account_properties.h"
#include "host/accounts/account_types.h"
#include "host/accounts/keyed_archive.h"
#include "host/accounts/server_resolution.h"

#include <algorithm>

namespace {

// A forged store may make rows their own ancestors.
constexpr qsizetype longest_parent_chain = 16;

const QLatin1String separator("; ");

/// Makes one record; what is taken from an ancestor is taken from the nearest that has it.
class record_maker
{
public:
    record_maker(const account_store_content& whole, const QHash<QString, std::size_t>& identifiers,
                 const store_account& row)
        : store(whole)
        , by_identifier(identifiers)
        , account(row)
    {
        for (const store_account* up = store.parent_of(row); up && ancestors.size() < longest_parent_chain;
             up = store.parent_of(*up)) {
            if (up == &row || ancestors.contains(up)) {
                record.marks.append(QStringLiteral("its parents lead back to itself"));
                break;
            }
            ancestors.append(up);
        }
    }

    account_record make();

private:
    void note(const char* field, const char* origin, const QString& raw)
    {
        record.sources.insert(QLatin1String(field), {QLatin1String(origin), raw});
    }
    void take_identity();
    void take_type();
    void take_inherited_text(const char* field, const char* column, QString store_account::*member, QString& target);
    void take_addresses();
    bool offer_address(const QString& address, const char* origin, const char* key);
    void offer_aliases(const store_account& from, const char* origin);
    void take_full_name();
    void take_flag(const char* field, const char* column, std::optional<bool> value, std::optional<bool>& target);
    void take_mail_enabled();
    void take_time(const char* field, const char* column, std::optional<double> seconds, QDateTime& target);
    void take_settings();

    const account_store_content& store;
    const QHash<QString, std::size_t>& by_identifier;
    const store_account& account;
    QList<const store_account*> ancestors;
    account_record record;
};

QString raw_text(const char* key, const QString& value)
{
    return QStringLiteral("%1 = %2").arg(QLatin1String(key), value);
}

void record_maker::take_identity()
{
    record.identifier = account.identifier;
    if (record.identifier.isEmpty()) {
        record.marks.append(QStringLiteral("its identifier is empty"));
    } else {
        note("identifier", account_origin::own_row, raw_text("ZIDENTIFIER", record.identifier));
    }
    if (record.identifier.contains(u'\'')) {
        record.marks.append(
            QStringLiteral("its identifier holds a quote, which changes a look-up that it is pasted into"));
    }
    if (account.has_quote_in_parent) {
        record.marks.append(QStringLiteral("its parent holds a quote, which changes a look-up that it is pasted into"));
    }
    record.owner = account.owner;
    for (const store_account* up : ancestors) {
        record.parents.append({up->identifier, store.type_of(*up), up->description});
    }
}

void record_maker::take_type()
{
    record.type_identifier = store.type_of(account);
    record.type = account_type_words(record.type_identifier);
    if (!record.type_identifier.isEmpty()) {
        note("type", account_origin::own_row, raw_text("ZACCOUNTTYPE", record.type_identifier));
    }
    QList<const store_account*> providers = ancestors;
    providers.prepend(&account);
    for (const store_account* candidate : std::as_const(providers)) {
        const QString identifier = store.type_of(*candidate);
        const account_type* type = find_account_type(identifier);
        // The mail account of iCloud has a type of its own, so that it is known without its parent.
        if (type && (type->is_provider || qstrcmp(type->words, "iCloud") == 0)) {
            record.provider = QString::fromLatin1(type->words);
            note("provider", candidate == &account ? account_origin::own_row : account_origin::parents_row,
                 raw_text("ZACCOUNTTYPE", identifier));
            return;
        }
    }
}

void record_maker::take_inherited_text(const char* field, const char* column, QString store_account::*member,
                                       QString& target)
{
    target = account.*member;
    const char* origin = account_origin::own_row;
    for (qsizetype up = 0; target.isEmpty() && up < ancestors.size(); ++up) {
        target = ancestors[up]->*member;
        origin = account_origin::parents_row;
    }
    if (!target.isEmpty()) {
        note(field, origin, raw_text(column, target));
    }
}

/// The first address that is offered is the account's own; the others are its further ones.
bool record_maker::offer_address(const QString& address, const char* origin, const char* key)
{
    if (!address.contains(u'@')) {
        return false;
    }
    if (record.address.isEmpty()) {
        record.address = address;
        note("address", origin, raw_text(key, address));
    }
    if (!record.addresses.contains(address, Qt::CaseInsensitive)) {
        const QString before = record.sources.value(QStringLiteral("addresses")).raw;
        record.addresses.append(address);
        note("addresses", origin,
             before.isEmpty() ? raw_text(key, address) : before + separator + raw_text(key, address));
    }
    return true;
}

void record_maker::offer_aliases(const store_account& from, const char* origin)
{
    for (const char* key : {"IdentityEmailAddress", "EmailAliases", "appleIDAliases"}) {
        const QVariant value = from.properties.value(QLatin1String(key));
        for (const QString& address : value.toStringList()) {
            offer_address(address, origin, key);
        }
    }
}

void record_maker::take_addresses()
{
    const auto dictionary_address = [](const store_account& row) {
        return row.mail_dictionary.value(QStringLiteral("EmailAddress")).toString();
    };
    offer_aliases(account, account_origin::own_property);
    offer_address(account.user_name, account_origin::own_row, "ZUSERNAME");
    offer_address(account.properties.value(QStringLiteral("primaryEmail")).toString(), account_origin::own_property,
                  "primaryEmail");
    offer_address(dictionary_address(account), account_origin::own_dictionary, "EmailAddress");
    if (const store_account* parent = store.parent_of(account)) {
        offer_address(dictionary_address(*parent), account_origin::parents_dictionary, "EmailAddress");
        offer_aliases(*parent, account_origin::parents_property);
    }
    // With what a parent logs in need not be an address of this account; it is better than none.
    for (const store_account* up : std::as_const(ancestors)) {
        if (record.address.isEmpty()) {
            offer_address(up->user_name, account_origin::parents_row, "ZUSERNAME");
        }
    }
}

void record_maker::take_full_name()
{
    const auto take = [this](const store_account& from, const char* origin) {
        for (const char* key : {"ACPropertyFullName", "FullUserName"}) {
            const QString name = from.properties.value(QLatin1String(key)).toString();
            if (!name.isEmpty()) {
                record.full_name = name;
                note("full_name", origin, raw_text(key, name));
                return;
            }
        }
        const QString first = from.properties.value(QStringLiteral("firstName")).toString();
        const QString last = from.properties.value(QStringLiteral("lastName")).toString();
        if (!first.isEmpty() || !last.isEmpty()) {
            record.full_name = QStringLiteral("%1 %2").arg(first, last).trimmed();
            note("full_name", origin, raw_text("firstName", first) + separator + raw_text("lastName", last));
        }
    };
    take(account, account_origin::own_property);
    for (qsizetype up = 0; record.full_name.isEmpty() && up < ancestors.size(); ++up) {
        take(*ancestors[up], account_origin::parents_property);
    }
}

void record_maker::take_flag(const char* field, const char* column, std::optional<bool> value,
                             std::optional<bool>& target)
{
    target = value;
    if (value) {
        note(field, account_origin::own_row, raw_text(column, QString::number(int{*value})));
    }
}

/// Mail is enabled for an account that is active and has the class, itself or through its parent.
void record_maker::take_mail_enabled()
{
    const store_account* parent = store.parent_of(account);
    const bool through_parent = !account.has_mail_class && parent && parent->has_mail_class;
    if (account.active == false) {
        record.mail_enabled = false;
        note("mail_enabled", account_origin::own_row, QStringLiteral("ZACTIVE = 0"));
        return;
    }
    if (!store.knows_mail_class || (account.parent && !parent && !account.has_mail_class)) {
        return;
    }
    const bool has_class = account.has_mail_class || through_parent;
    if (has_class && !account.active) {
        return;
    }
    record.mail_enabled = has_class;
    note("mail_enabled", through_parent ? account_origin::parents_class : account_origin::own_class,
         QStringLiteral("com.apple.Dataclass.Mail %1")
             .arg(has_class ? QStringLiteral("enabled") : QStringLiteral("not enabled")));
}

void record_maker::take_time(const char* field, const char* column, std::optional<double> seconds, QDateTime& target)
{
    if (!seconds) {
        return;
    }
    target = time_since_2001(*seconds);
    note(field, account_origin::own_row, raw_text(column, QString::number(*seconds, 'g', 17)));
}

void record_maker::take_settings()
{
    for (auto property = account.properties.begin(); property != account.properties.end(); ++property) {
        if (is_setting(property.key())) {
            record.settings.insert(property.key(), property.value().toString());
        }
    }
    if (!account.authentication_type.isEmpty()) {
        record.settings.insert(QStringLiteral("ZAUTHENTICATIONTYPE"), account.authentication_type);
    }
    record.other_keys = account.other_keys;
}

account_record record_maker::make()
{
    take_identity();
    take_type();
    take_inherited_text("description", "ZACCOUNTDESCRIPTION", &store_account::description, record.description);
    take_inherited_text("user_name", "ZUSERNAME", &store_account::user_name, record.user_name);
    take_addresses();
    take_full_name();
    take_flag("active", "ZACTIVE", account.active, record.active);
    take_flag("visible", "ZVISIBLE", account.visible, record.visible);
    take_flag("authenticated", "ZAUTHENTICATED", account.authenticated, record.authenticated);
    take_mail_enabled();
    take_time("recorded", "ZDATE", account.date, record.recorded);
    take_time("last_refused", "ZLASTCREDENTIALRENEWALREJECTIONDATE", account.refused, record.last_refused);
    resolve_servers(store, by_identifier, account, record);
    take_settings();
    if (record.user_name.contains(u'\'') || record.address.contains(u'\'')) {
        record.marks.append(
            QStringLiteral("its name holds a quote, which changes a look-up that it is pasted into, or lets it fail"));
    }
    return record;
}

bool concerns_mail(const account_store_content& store, const store_account& account,
                   const QSet<QString>& folder_identifiers)
{
    const account_type* type = find_account_type(store.type_of(account));
    const store_account* parent = store.parent_of(account);
    return (type && type->is_mail) || account.has_mail_class || (parent && parent->has_mail_class) ||
           (!account.identifier.isEmpty() && folder_identifiers.contains(account.identifier.toUpper()));
}

} // namespace

store_records make_account_records(const account_store_content& store, const QSet<QString>& folder_identifiers)
{
    QHash<QString, std::size_t> by_identifier;
    QHash<qint64, qsizetype> family_of_parent;
    store_records made;
    for (std::size_t index = 0; index < store.accounts.size(); ++index) {
        const store_account& account = store.accounts[index];
        by_identifier.insert(account.identifier.toUpper(), index);
        if (!account.parent) {
            continue;
        }
        const auto family = family_of_parent.constFind(*account.parent);
        if (family == family_of_parent.constEnd()) {
            family_of_parent.insert(*account.parent, qsizetype(made.families.size()));
            made.families.emplace_back();
        }
        account_family& members = made.families[std::size_t(family_of_parent.value(*account.parent))];
        ++members.size;
        if (members.members.size() <= most_siblings_named) {
            members.members.append({account.identifier, store.type_of(account), account.description});
        }
    }
    for (const store_account& account : store.accounts) {
        if (!concerns_mail(store, account, folder_identifiers)) {
            continue;
        }
        made.records.push_back(record_maker(store, by_identifier, account).make());
        made.keys.push_back(account.key);
        if (account.parent) {
            made.records.back().family = family_of_parent.value(*account.parent);
        }
    }
    return made;
}
