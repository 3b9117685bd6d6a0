#include "sample/sample_account_store.h"

#include "sample/sample_account_properties.h"
#include "sample/sample_plist.h"
#include "sample/sample_wal.h"

#include <array>

namespace {

constexpr qint64 core_data_epoch_seconds = 978'307'200;
constexpr int account_entity = 2;
constexpr int property_entity = 3;
constexpr int type_entity = 4;
constexpr int class_entity = 7;

// By key, which counts from one.
constexpr std::array<const char*, 3> data_classes{"com.apple.Dataclass.Mail", "com.apple.Dataclass.Calendars",
                                                  "com.apple.Dataclass.Notes"};
constexpr int mail_class = 1;
constexpr int calendars_class = 2;
constexpr int notes_class = 3;

struct account_type
{
    const char* identifier;
    const char* description;
    const char* credential_type;
};

constexpr std::array<account_type, 20> account_types{{
    {"com.apple.account.Hotmail", "Hotmail", "oauth2"},
    {"com.apple.account.POP", "POP", "password"},
    {"com.apple.account.IMAPMail", "iCloud Mail", "token"},
    {"com.apple.account.AppleAccount", "iCloud", "token"},
    {"com.apple.account.AppleID", "AppleID", "appleid-tokens"},
    {"com.apple.account.AppleIDAuthentication", "Apple ID", "appleid-authentication"},
    {"com.apple.account.Exchange", "Exchange", "password"},
    {"com.apple.account.IMAPNotes", "IMAPNotes", "password"},
    {"com.apple.account.IMAP", "IMAP", "password"},
    {"com.apple.account.Yahoo", "Yahoo", "oauth2"},
    {"com.apple.account.CalDAV", "CalDAV", "password"},
    {"com.apple.account.CardDAV", "CardDAV", "password"},
    {"com.apple.account.SMTP", "SMTP", "password"},
    {"com.apple.account.IdentityServices", "Messages", "token"},
    {"com.apple.account.Google", "Google", "oauth2"},
    {"com.apple.account.CloudKit", "CloudKit", "token"},
    {"com.apple.account.DeviceLocator", "Device Locator", "token"},
    {"com.apple.account.HolidayCalendar", "Holiday Calendar", "password"},
    {"com.apple.account.GameCenter", "Game Center", "token"},
    {"com.apple.account.LDAP", "LDAP", "password"},
}};

qint64 type_key(QLatin1StringView identifier)
{
    for (std::size_t i = 0; i < account_types.size(); ++i) {
        if (identifier == QLatin1StringView(account_types[i].identifier)) {
            return static_cast<qint64>(i) + 1;
        }
    }
    Q_UNREACHABLE();
}

/// Builds the rows of one store. A store that an upgrade left behind knows former addresses and lacks the newest
/// account.
class store_builder
{
public:
    store_builder(sample_random& values, bool older_model, bool left_behind)
        : random(values)
        , older(older_model)
        , leftover(left_behind)
    {
    }

    sample_database build(const sample_user& user)
    {
        full_name = user.full_name;
        add_services_of_the_system(user);
        for (const sample_mail_account& account : user.accounts) {
            if (!(leftover && account.only_in_log)) {
                add_mail_account(account);
            }
        }
        // An account that was just set up, so that a store without mail accounts has something in its log, too.
        add({.type = "com.apple.account.GameCenter",
             .user_name = user.login + QStringLiteral("@example.org"),
             .owner = "com.apple.AuthKit",
             .only_in_log = true});
        return statements();
    }

private:
    struct row
    {
        const char* type;
        qint64 parent = 0;
        QString description = {};
        QString user_name = {};
        const char* owner = "com.apple.accounts.accountsd";
        QString identifier = {};
        QByteArray properties = {};
        bool only_in_log = false;
    };

    qint64 add(const row& account)
    {
        const qint64 key = ++last_account;
        const sample_time date = random.time_between(2017, 2023);
        const double core_data_date =
            static_cast<double>(date.seconds - core_data_epoch_seconds) + date.nanoseconds / 1e9;
        const auto text = [](const QString& value) { return value.isEmpty() ? QVariant() : QVariant(value); };
        const auto visible = account.parent == 0 || random.below(3) != 0;
        (account.only_in_log ? accounts_in_log : accounts_in_file)
            .append({key, account_entity, 1 + random.below(40), 1, 1, 1, int{visible},
                     type_key(QLatin1StringView(account.type)), account.parent ? QVariant(account.parent) : QVariant(),
                     core_data_date, QVariant(), text(account.description),
                     account.parent ? QVariant(QStringLiteral("parent")) : QVariant(), QVariant(),
                     account.identifier.isEmpty() ? random.uuid() : account.identifier,
                     QString::fromLatin1(account.owner), text(account.user_name),
                     account.properties.isEmpty() ? QVariant() : QVariant(account.properties)});
        return key;
    }

    void add_property(qint64 account, const QString& key, const QVariant& value, bool only_in_log)
    {
        (only_in_log ? properties_in_log : properties_in_file)
            .append({++last_property, property_entity, 1, account, key, to_keyed_archive(value)});
    }

    void add_services_of_the_system(const sample_user& user)
    {
        const QString address = user.login + QStringLiteral("@example.org");
        add({.type = "com.apple.account.AppleID", .user_name = address, .owner = "com.apple.AuthKit"});
        add({.type = "com.apple.account.AppleIDAuthentication", .user_name = address, .owner = "com.apple.AuthKit"});
        add({.type = "com.apple.account.IdentityServices",
             .description = QStringLiteral("Messages"),
             .user_name = address,
             .owner = "com.apple.identityservicesd"});
        add({.type = "com.apple.account.HolidayCalendar",
             .description = QStringLiteral("Holiday Calendar"),
             .owner = "dataaccessd"});
        add({.type = "com.apple.account.CalDAV",
             .description = QStringLiteral("Club calendar"),
             .user_name = user.login,
             .owner = "com.apple.CalendarAgent"});
    }

    void enable(qint64 account, std::initializer_list<int> classes, bool only_in_log)
    {
        for (const int data_class : classes) {
            (only_in_log ? enabled_in_log : enabled_in_file).append({account, data_class});
        }
    }

    void add_mail_account(const sample_mail_account& account)
    {
        const bool logged = account.only_in_log;
        const bool alone = account.provider_identifier.isEmpty();
        const QString user_name = leftover ? QStringLiteral("former.") + account.address() : account.address();
        const QByteArray dictionaries = to_keyed_archive(data_class_dictionaries(account, user_name));
        qint64 provider = 0;
        if (!alone) {
            provider = add({.type = account.kind->provider_type,
                            .description = account.description(),
                            .user_name = user_name,
                            .owner = "com.apple.systempreferences",
                            .identifier = account.provider_identifier,
                            .properties = dictionaries,
                            .only_in_log = logged});
            enable(provider, {mail_class, calendars_class, notes_class}, logged);
            for (const char* service :
                 {"com.apple.account.CalDAV", "com.apple.account.CardDAV", "com.apple.account.IMAPNotes"}) {
                add({.type = service, .parent = provider, .only_in_log = logged});
            }
        }
        row mail{.type = account.kind->mail_type,
                 .parent = provider,
                 .identifier = account.identifier,
                 .only_in_log = logged};
        if (alone) {
            mail.description = account.description();
            mail.user_name = user_name;
            mail.owner = "com.apple.mail";
            mail.properties = dictionaries;
        }
        const qint64 key = add(mail);
        if (alone) {
            enable(key, {mail_class}, logged);
        }
        const row sending{.type = "com.apple.account.SMTP",
                          .parent = provider ? provider : key,
                          .identifier = random.uuid(),
                          .only_in_log = logged};
        for (const sample_property& property :
             mail_account_properties(account, full_name, user_name, sending.identifier)) {
            add_property(key, property.key, property.value, logged);
        }
        const qint64 sender = add(sending);
        for (const sample_property& property : sending_account_properties(account)) {
            add_property(sender, property.key, property.value, logged);
        }
    }

    sample_database statements();
    QVariantList metadata();

    sample_random& random;
    bool older;
    bool leftover;
    QString full_name;
    qint64 last_account = 0;
    qint64 last_property = 0;
    QList<QVariantList> accounts_in_file;
    QList<QVariantList> accounts_in_log;
    QList<QVariantList> properties_in_file;
    QList<QVariantList> properties_in_log;
    QList<QVariantList> enabled_in_file;
    QList<QVariantList> enabled_in_log;
};

QVariantList store_builder::metadata()
{
    const QVariantMap list{
        {QStringLiteral("ACAccountTypeVersion"), older ? 61 : 92},
        {QStringLiteral("ACKeychainVersion"), 3},
        {QStringLiteral("NSPersistenceFrameworkVersion"), older ? 754 : 1244},
        {QStringLiteral("NSStoreModelVersionHashes"), QVariantMap{{QStringLiteral("Account"), random.bytes(32)},
                                                                  {QStringLiteral("AccountProperty"), random.bytes(32)},
                                                                  {QStringLiteral("AccountType"), random.bytes(32)}}},
        {QStringLiteral("NSStoreModelVersionHashesVersion"), 3},
        {QStringLiteral("NSStoreModelVersionIdentifiers"),
         QVariantList{older ? QStringLiteral("20") : QStringLiteral("25")}},
        {QStringLiteral("NSStoreType"), QStringLiteral("SQLite")},
        {QStringLiteral("_NSAutoVacuumLevel"), QStringLiteral("2")}};
    return {1, random.uuid(), to_binary_plist(list)};
}

sample_database store_builder::statements()
{
    static const QStringList schema{
        QStringLiteral(
            "CREATE TABLE ZACCOUNT ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZACTIVE INTEGER, "
            "ZAUTHENTICATED INTEGER, ZSUPPORTSAUTHENTICATION INTEGER, ZVISIBLE INTEGER, ZACCOUNTTYPE INTEGER, "
            "ZPARENTACCOUNT INTEGER, ZDATE TIMESTAMP, ZLASTCREDENTIALRENEWALREJECTIONDATE TIMESTAMP, "
            "ZACCOUNTDESCRIPTION VARCHAR, ZAUTHENTICATIONTYPE VARCHAR, ZCREDENTIALTYPE VARCHAR, "
            "ZIDENTIFIER VARCHAR, ZOWNINGBUNDLEID VARCHAR, ZUSERNAME VARCHAR, ZDATACLASSPROPERTIES BLOB )"),
        QStringLiteral("CREATE TABLE ZACCOUNTPROPERTY ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, "
                       "ZOWNER INTEGER, ZKEY VARCHAR, ZVALUE BLOB )"),
        QStringLiteral("CREATE TABLE ZACCOUNTTYPE ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, "
                       "ZENCRYPTACCOUNTPROPERTIES INTEGER, ZOBSOLETE INTEGER, ZSUPPORTSAUTHENTICATION INTEGER, "
                       "ZSUPPORTSMULTIPLEACCOUNTS INTEGER, ZVISIBILITY INTEGER, ZACCOUNTTYPEDESCRIPTION VARCHAR, "
                       "ZCREDENTIALPROTECTIONPOLICY VARCHAR, ZCREDENTIALTYPE VARCHAR, ZIDENTIFIER VARCHAR, "
                       "ZOWNINGBUNDLEID VARCHAR )"),
        QStringLiteral(
            "CREATE TABLE ZDATACLASS ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZNAME BLOB )"),
        QStringLiteral(
            "CREATE TABLE Z_2ENABLEDDATACLASSES ( Z_2ENABLEDACCOUNTS INTEGER, Z_7ENABLEDDATACLASSES INTEGER, "
            "PRIMARY KEY (Z_2ENABLEDACCOUNTS, Z_7ENABLEDDATACLASSES) )"),
        QStringLiteral("CREATE INDEX ZACCOUNT_ZACCOUNTTYPE_INDEX ON ZACCOUNT (ZACCOUNTTYPE)"),
        QStringLiteral("CREATE INDEX ZACCOUNT_ZPARENTACCOUNT_INDEX ON ZACCOUNT (ZPARENTACCOUNT)"),
        QStringLiteral("CREATE INDEX ZACCOUNTPROPERTY_ZOWNER_INDEX ON ZACCOUNTPROPERTY (ZOWNER)"),
        QStringLiteral(
            "CREATE TABLE Z_PRIMARYKEY (Z_ENT INTEGER PRIMARY KEY, Z_NAME VARCHAR, Z_SUPER INTEGER, Z_MAX INTEGER)"),
        QStringLiteral("CREATE TABLE Z_METADATA (Z_VERSION INTEGER PRIMARY KEY, Z_UUID VARCHAR(255), Z_PLIST BLOB)")};
    const QString insert_account = QStringLiteral("INSERT INTO ZACCOUNT VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)");
    const QString insert_property = QStringLiteral("INSERT INTO ZACCOUNTPROPERTY VALUES(?,?,?,?,?,?)");
    const QString update_maximum = QStringLiteral("UPDATE Z_PRIMARYKEY SET Z_MAX = ? WHERE Z_ENT = ?");

    QList<QVariantList> types;
    for (const account_type& type : account_types) {
        types.append({types.size() + 1, type_entity, 1, 0, 0, 1, 1, 0, QString::fromLatin1(type.description),
                      QStringLiteral("ck"), QString::fromLatin1(type.credential_type),
                      QString::fromLatin1(type.identifier), QStringLiteral("com.apple.accountsd")});
    }
    sample_database content;
    for (const QString& text : schema) {
        content.in_file.append({text, {}});
    }
    content.in_file.append({QStringLiteral("INSERT INTO ZACCOUNTTYPE VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?)"), types});
    content.in_file.append({insert_account, accounts_in_file});
    if (!properties_in_file.isEmpty()) {
        content.in_file.append({insert_property, properties_in_file});
    }
    QList<QVariantList> classes;
    for (const char* name : data_classes) {
        classes.append({classes.size() + 1, class_entity, 1, to_keyed_archive(QString::fromLatin1(name))});
    }
    content.in_file.append({QStringLiteral("INSERT INTO ZDATACLASS VALUES(?,?,?,?)"), classes});
    const QString insert_enabled = QStringLiteral("INSERT INTO Z_2ENABLEDDATACLASSES VALUES(?,?)");
    if (!enabled_in_file.isEmpty()) {
        content.in_file.append({insert_enabled, enabled_in_file});
    }
    content.in_file.append({QStringLiteral("INSERT INTO Z_PRIMARYKEY VALUES(?,?,?,?)"),
                            {{account_entity, QStringLiteral("Account"), 0, accounts_in_file.size()},
                             {property_entity, QStringLiteral("AccountProperty"), 0, properties_in_file.size()},
                             {type_entity, QStringLiteral("AccountType"), 0, types.size()}}});
    content.in_file.append({QStringLiteral("INSERT INTO Z_METADATA VALUES(?,?,?)"), {metadata()}});

    content.only_in_log.append({insert_account, accounts_in_log});
    if (!properties_in_log.isEmpty()) {
        content.only_in_log.append({insert_property, properties_in_log});
    }
    if (!enabled_in_log.isEmpty()) {
        content.only_in_log.append({insert_enabled, enabled_in_log});
    }
    content.only_in_log.append({update_maximum, {{last_account, account_entity}, {last_property, property_entity}}});
    return content;
}

bool write_store(sample_writer& writer, const sample_user& user, bool older, QString& error)
{
    const QString path =
        QStringLiteral("Users/%1/Library/Accounts/Accounts%2.sqlite").arg(user.name).arg(older ? 3 : 4);
    sample_random random(writer.seed(), QStringLiteral("store/") + path);
    const bool leftover = older && user.stores == account_stores::both;
    const auto files = make_wal_database(store_builder(random, older, leftover).build(user), random, error);
    if (!files) {
        return false;
    }
    writer.write_file(path, files->database);
    writer.write_file(path + QStringLiteral("-wal"), files->log);
    // SQLite builds the index of the log anew from whatever the file holds.
    if (user.shared_memory_file) {
        writer.write_file(path + QStringLiteral("-shm"), QByteArray(32'768, '\0'));
    }
    return true;
}

} // namespace

bool write_account_stores(sample_writer& writer, const sample_user& user, QString& error)
{
    const bool newer = user.stores == account_stores::accounts4 || user.stores == account_stores::both;
    const bool older = user.stores == account_stores::accounts3 || user.stores == account_stores::both;
    return (!newer || write_store(writer, user, false, error)) && (!older || write_store(writer, user, true, error));
}
