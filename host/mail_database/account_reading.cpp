#include "host/mail_database/account_reading.h"

#include "host/mail_database/account_fields.h"
#include "host/mail_database/own_database.h"

#include <algorithm>
#include <functional>

namespace {

/// Calls `take` with the record that each row of a table speaks of.
void for_each_detail(const own_database& database, const char* table, const char* columns, const char* order,
                     account_dossier& dossier, const std::function<void(account_record&, const checked_rows&)>& take)
{
    checked_rows rows = database.query(QStringLiteral("SELECT account, %1 FROM %2 ORDER BY account, %3")
                                           .arg(QLatin1String(columns), QLatin1String(table), QLatin1String(order)));
    while (rows.next()) {
        const qint64 account = rows.value(0).toLongLong();
        if (account >= 1 && account <= dossier.accounts.size()) {
            take(dossier.accounts[account - 1], rows);
        }
    }
}

account_name name_in(const checked_rows& rows, int first)
{
    return {rows.value(first).toString(), rows.value(first + 1).toString(), rows.value(first + 2).toString()};
}

/// Columns: Mail version, in use, path, files, bytes, problem.
account_place place_in(const checked_rows& rows, int first)
{
    const QVariant live = rows.value(first + 1);
    return {rows.value(first).toString(),
            live.isNull() ? std::nullopt : std::optional(live.toInt() != 0),
            rows.value(first + 2).toString(),
            {rows.value(first + 3).toLongLong(), rows.value(first + 4).toLongLong()},
            {},
            rows.value(first + 5).toString()};
}

void read_other_folders(const own_database& database, account_dossier& dossier)
{
    checked_rows known = database.query(QStringLiteral("SELECT 1 FROM sqlite_master WHERE name = 'other_folders'"));
    if (!known.next()) {
        dossier.problems.append(QStringLiteral("folders that are no account's were not recorded by this run"));
        return;
    }
    checked_rows rows = database.query(QStringLiteral("SELECT user, mail_version, live, path, files, bytes, problem "
                                                      "FROM other_folders ORDER BY rowid"));
    while (rows.next()) {
        dossier.other_folders.append({rows.value(0).toString(), place_in(rows, 1)});
    }
}

void read_records(const own_database& database, account_dossier& dossier)
{
    QStringList columns;
    for (const account_field& field : account_fields()) {
        columns.append(QLatin1Char('"') + QLatin1String(field.column) + QLatin1Char('"'));
    }
    checked_rows rows =
        database.query(QStringLiteral("SELECT %1, family FROM accounts ORDER BY id").arg(columns.join(u',')));
    while (rows.next()) {
        account_record& record = dossier.accounts.emplaceBack();
        int column = 0;
        for (const account_field& field : account_fields()) {
            field.set(record, rows.value(column++));
        }
        record.family = rows.value(column).isNull() ? -1 : rows.value(column).toLongLong();
    }
}

void read_details(const own_database& database, account_dossier& dossier)
{
    for_each_detail(
        database, "account_addresses", "address", "position", dossier,
        [](account_record& record, const checked_rows& rows) { record.addresses.append(rows.value(1).toString()); });
    for_each_detail(
        database, "account_sources", "field, origin, raw", "field", dossier,
        [](account_record& record, const checked_rows& rows) {
            record.sources.insert(rows.value(1).toString(), {rows.value(2).toString(), rows.value(3).toString()});
        });
    for_each_detail(database, "account_parents", "identifier, type_identifier, description", "position", dossier,
                    [](account_record& record, const checked_rows& rows) { record.parents.append(name_in(rows, 1)); });
    for_each_detail(database, "account_folders", "mail_version, live, path, files, bytes, problem, matched_by",
                    "position", dossier, [](account_record& record, const checked_rows& rows) {
                        record.folders.append(place_in(rows, 1));
                        record.folders.last().matched_by = rows.value(7).toString();
                    });
    for_each_detail(database, "account_settings", "name, value", "name", dossier,
                    [](account_record& record, const checked_rows& rows) {
                        record.settings.insert(rows.value(1).toString(), rows.value(2).toString());
                    });
    for_each_detail(database, "account_other_keys", "name, kind", "position", dossier,
                    [](account_record& record, const checked_rows& rows) {
                        record.other_keys.append({rows.value(1).toString(), rows.value(2).toString()});
                    });
    for_each_detail(database, "account_notes", "kind, text", "kind, position", dossier,
                    [](account_record& record, const checked_rows& rows) {
                        const bool is_mark = rows.value(1).toString() == QLatin1String("mark");
                        (is_mark ? record.marks : record.before_log).append(rows.value(2).toString());
                    });
}

void read_families(const own_database& database, account_dossier& dossier)
{
    checked_rows families = database.query(QStringLiteral("SELECT members FROM account_families ORDER BY family"));
    while (families.next()) {
        dossier.families.append({{}, families.value(0).toLongLong()});
    }
    checked_rows members = database.query(QStringLiteral("SELECT family, identifier, type_identifier, description FROM "
                                                         "account_family_members ORDER BY family, position"));
    while (members.next()) {
        const qint64 family = members.value(0).toLongLong();
        if (family >= 0 && family < dossier.families.size()) {
            dossier.families[family].members.append(name_in(members, 1));
        }
    }
}

} // namespace

account_dossier read_accounts(const result_paths& result)
{
    const own_database database(result);
    account_dossier dossier;
    read_records(database, dossier);
    read_details(database, dossier);
    read_families(database, dossier);
    checked_rows remarks = database.query(QStringLiteral("SELECT kind, text FROM remarks ORDER BY rowid"));
    while (remarks.next()) {
        const bool is_problem = remarks.value(0).toString() == QLatin1String("problem");
        (is_problem ? dossier.problems : dossier.remarks).append(remarks.value(1).toString());
    }
    read_other_folders(database, dossier);
    return dossier;
}

std::pair<QList<account_name>, qint64> siblings_of(const account_dossier& dossier, const account_record& record)
{
    if (record.family < 0 || record.family >= dossier.families.size()) {
        return {{}, 0};
    }
    const account_family& family = dossier.families[record.family];
    QList<account_name> named = family.members;
    const auto itself = std::find_if(named.begin(), named.end(), [&record](const account_name& member) {
        return member.identifier == record.identifier && member.type_identifier == record.type_identifier;
    });
    if (itself != named.end()) {
        named.erase(itself);
    }
    named = named.mid(0, most_siblings_named);
    return {named, std::max<qint64>(0, family.size - 1 - named.size())};
}
