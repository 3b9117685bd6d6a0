#include "host/mail_database/account_tables.h"

#include "host/mail_database/account_fields.h"

namespace {

constexpr const char* tables[] = {
    "CREATE TABLE account_addresses(account INTEGER NOT NULL, position INTEGER NOT NULL, address TEXT NOT NULL, "
    "PRIMARY KEY(account, position)) WITHOUT ROWID",
    "CREATE INDEX account_addresses_by_address ON account_addresses(address COLLATE NOCASE)",
    "CREATE TABLE account_sources(account INTEGER NOT NULL, field TEXT NOT NULL, origin TEXT NOT NULL, raw TEXT, "
    "PRIMARY KEY(account, field)) WITHOUT ROWID",
    "CREATE TABLE account_parents(account INTEGER NOT NULL, position INTEGER NOT NULL, identifier TEXT, "
    "type_identifier TEXT, description TEXT, PRIMARY KEY(account, position)) WITHOUT ROWID",
    "CREATE TABLE account_families(family INTEGER PRIMARY KEY, members INTEGER NOT NULL)",
    "CREATE TABLE account_family_members(family INTEGER NOT NULL, position INTEGER NOT NULL, identifier TEXT, "
    "type_identifier TEXT, description TEXT, PRIMARY KEY(family, position)) WITHOUT ROWID",
    "CREATE TABLE account_folders(account INTEGER NOT NULL, position INTEGER NOT NULL, mail_version TEXT NOT NULL, "
    "live INTEGER, path TEXT NOT NULL, files INTEGER NOT NULL, bytes INTEGER NOT NULL, matched_by TEXT, "
    "problem TEXT, PRIMARY KEY(account, position)) WITHOUT ROWID",
    "CREATE INDEX account_folders_by_path ON account_folders(path)",
    "CREATE TABLE account_settings(account INTEGER NOT NULL, name TEXT NOT NULL, value TEXT, "
    "PRIMARY KEY(account, name)) WITHOUT ROWID",
    "CREATE TABLE account_other_keys(account INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT NOT NULL, "
    "kind TEXT NOT NULL, PRIMARY KEY(account, position)) WITHOUT ROWID",
    "CREATE TABLE account_notes(account INTEGER NOT NULL, position INTEGER NOT NULL, kind TEXT NOT NULL, "
    "text TEXT NOT NULL, PRIMARY KEY(account, kind, position)) WITHOUT ROWID",
    "CREATE TABLE other_folders(user TEXT NOT NULL, mail_version TEXT NOT NULL, live INTEGER, path TEXT NOT NULL, "
    "files INTEGER NOT NULL, bytes INTEGER NOT NULL, problem TEXT)",
    "CREATE TABLE remarks(kind TEXT NOT NULL, text TEXT NOT NULL)",
};

/// Fills the tables that hang on the one of accounts.
class account_table_writer
{
public:
    explicit account_table_writer(mail_database_writer& target);

    void write(const account_record& record);
    void write(const account_family& family);

private:
    struct details
    {
        prepared_insertion account;
        prepared_insertion address;
        prepared_insertion source;
        prepared_insertion parent;
        prepared_insertion folder;
        prepared_insertion setting;
        prepared_insertion other_key;
        prepared_insertion note;
        prepared_insertion family;
        prepared_insertion member;
    };

    void write_notes(const char* kind, const QStringList& texts);

    mail_database_writer& writer;
    details into;
    qint64 account = 0;
    qint64 family = 0;
};

QString accounts_table(QStringList& columns)
{
    QStringList declarations{QStringLiteral("id INTEGER PRIMARY KEY")};
    columns.append(QStringLiteral("id"));
    for (const account_field& field : account_fields()) {
        const bool is_number = field.is_flag() || std::holds_alternative<server_port>(field.member);
        columns.append(QLatin1Char('"') + QLatin1String(field.column) + QLatin1Char('"'));
        declarations.append(columns.last() + (is_number ? QStringLiteral(" INTEGER") : QStringLiteral(" TEXT")));
    }
    columns.append(QStringLiteral("family"));
    declarations.append(QStringLiteral("family INTEGER"));
    return QStringLiteral("CREATE TABLE accounts(%1)").arg(declarations.join(QStringLiteral(", ")));
}

/// A key without a name is a key.
QString never_null(const QString& text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

QString insertion(const QString& table, qsizetype columns)
{
    return QStringLiteral("INSERT INTO %1 VALUES(%2)")
        .arg(table, QStringList(columns, QStringLiteral("?")).join(QLatin1Char(',')));
}

QVariant flag_or_null(const std::optional<bool>& flag)
{
    return flag ? QVariant(int{*flag}) : QVariant();
}

account_table_writer::account_table_writer(mail_database_writer& target) : writer(target)
{
    QStringList columns;
    writer.execute(accounts_table(columns));
    for (const char* column : {"user", "identifier", "address"}) {
        writer.execute(QStringLiteral("CREATE INDEX accounts_by_%1 ON accounts(\"%1\")").arg(QLatin1String(column)));
    }
    for (const char* statement : tables) {
        writer.execute(QLatin1String(statement));
    }
    const auto into_table = [this](const char* table, qsizetype count) {
        return writer.prepare(insertion(QLatin1String(table), count));
    };
    into = {into_table("accounts", columns.size()), into_table("account_addresses", 3),
            into_table("account_sources", 4),       into_table("account_parents", 5),
            into_table("account_folders", 9),       into_table("account_settings", 3),
            into_table("account_other_keys", 4),    into_table("account_notes", 4),
            into_table("account_families", 2),      into_table("account_family_members", 5)};
}

void account_table_writer::write_notes(const char* kind, const QStringList& texts)
{
    for (qsizetype position = 0; position < texts.size(); ++position) {
        writer.insert(into.note, {account, position, QLatin1String(kind), texts[position]});
    }
}

void account_table_writer::write(const account_record& record)
{
    QVariantList values{++account};
    for (const account_field& field : account_fields()) {
        values.append(field.value(record));
    }
    values.append(record.family < 0 ? QVariant() : QVariant(record.family));
    writer.insert(into.account, values);
    for (qsizetype position = 0; position < record.addresses.size(); ++position) {
        writer.insert(into.address, {account, position, record.addresses[position]});
    }
    for (auto source = record.sources.begin(); source != record.sources.end(); ++source) {
        writer.insert(into.source, {account, source.key(), source.value().origin, source.value().raw});
    }
    for (qsizetype position = 0; position < record.parents.size(); ++position) {
        const account_name& parent = record.parents[position];
        writer.insert(into.parent, {account, position, parent.identifier, parent.type_identifier, parent.description});
    }
    for (qsizetype position = 0; position < record.folders.size(); ++position) {
        const account_place& place = record.folders[position];
        writer.insert(into.folder, {account, position, place.mail_version, flag_or_null(place.live), place.path,
                                    place.amount.files, place.amount.bytes, place.matched_by, place.problem});
    }
    for (auto setting = record.settings.begin(); setting != record.settings.end(); ++setting) {
        writer.insert(into.setting, {account, setting.key(), setting.value()});
    }
    for (qsizetype position = 0; position < record.other_keys.size(); ++position) {
        const auto& [name, kind] = record.other_keys[position];
        writer.insert(into.other_key, {account, position, never_null(name), kind});
    }
    write_notes("mark", record.marks);
    write_notes("before the log", record.before_log);
}

void account_table_writer::write(const account_family& members)
{
    writer.insert(into.family, {family, members.size});
    for (qsizetype position = 0; position < members.members.size(); ++position) {
        const account_name& member = members.members[position];
        writer.insert(into.member, {family, position, member.identifier, member.type_identifier, member.description});
    }
    ++family;
}

} // namespace

void write_account_tables(mail_database_writer& writer, const account_dossier& dossier)
{
    account_table_writer accounts(writer);
    for (const account_record& record : dossier.accounts) {
        accounts.write(record);
    }
    for (const account_family& family : dossier.families) {
        accounts.write(family);
    }
    prepared_insertion others = writer.prepare(insertion(QStringLiteral("other_folders"), 7));
    for (const auto& [user, place] : dossier.other_folders) {
        writer.insert(others, {user, place.mail_version, flag_or_null(place.live), place.path, place.amount.files,
                               place.amount.bytes, place.problem});
    }
    prepared_insertion remarks = writer.prepare(insertion(QStringLiteral("remarks"), 2));
    for (const auto& [kind, texts] : {std::pair{"problem", &dossier.problems}, std::pair{"remark", &dossier.remarks}}) {
        for (const QString& text : *texts) {
            writer.insert(remarks, {QLatin1String(kind), text});
        }
    }
}
