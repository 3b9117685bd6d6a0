#include "host/accounts/dossier.h"

#include "host/accounts/account_folders.h"
#include "host/accounts/account_records.h"
#include "host/accounts/account_types.h"
#include "host/evidence/evidence_failure.h"
#include "host/files/file_tree.h"
#include "host/source/account_stores.h"
#include "host/text/display_text.h"

#include <algorithm>
#include <map>

namespace {

// Each store is read twice, with its log and without, and the plug-in has read it before: of hostile ones a run takes
// ten seconds in all.
constexpr qint64 milliseconds_a_reading = 2000;
constexpr const char* without_log = " (read without its log)";

// One for each store and each state of it would be four.
constexpr qsizetype most_rows_of_one_account = 20;

/// Collects the records of one user.
class user_dossier
{
public:
    user_dossier(const dossier_request& asked, const QByteArray& whose, account_dossier& whole)
        : request(asked)
        , user(whose)
        , dossier(whole)
        , first(whole.accounts.size())
    {
    }

    void read();

private:
    void read_store(const QByteArray& name, const QByteArray& path);
    store_records read_copy(const evidence_copies& copies, log_use use, const QByteArray& name);
    void add(account_record record, const char* row, const QString& store, qsizetype families);
    QList<qsizetype> owners_by_name(const account_folder_found& folder,
                                    const QMultiHash<QString, qsizetype>& by_name) const;
    void assign_folders();
    void add_folder_without_record(const account_folder_found& folder);

    const dossier_request& request;
    const QByteArray user;
    account_dossier& dossier;
    const qsizetype first; ///< of this user's records
    std::vector<account_folder_found> folders;
    QSet<QString> folder_identifiers;
};

/// The fields of a record that a person would compare, as texts.
QMap<QString, QString> comparable(const account_record& record)
{
    QMap<QString, QString> fields;
    for (auto source = record.sources.begin(); source != record.sources.end(); ++source) {
        fields.insert(source.key(), source.value().raw);
    }
    return fields;
}

/// Names what the log changes, with the value that the database has alone.
QStringList changes(const account_record& with_log, const account_record& alone)
{
    const auto now = comparable(with_log);
    auto before = comparable(alone);
    for (auto field = now.begin(); field != now.end(); ++field) {
        before.insert(field.key(), before.value(field.key()));
    }
    QStringList found;
    for (auto field = before.begin(); field != before.end(); ++field) {
        if (now.value(field.key()) != field.value()) {
            found.append(QStringLiteral("%1: %2").arg(field.key(), field.value().isEmpty() ? QStringLiteral("nothing")
                                                                                           : field.value()));
        }
    }
    return found;
}

/// True when a folder's name was made of this account's login and server, as Mail did before it used identifiers.
bool is_named_after(const account_folder_found& folder, const account_record& record)
{
    const bool same_kind =
        folder.type == record.type || (folder.type == QLatin1String("iCloud") && record.type == QLatin1String("IMAP") &&
                                       record.provider == folder.type);
    if (!same_kind || folder.login.isEmpty()) {
        return false;
    }
    const auto equals = [](const QString& left, const QString& right) {
        return !left.isEmpty() && left.compare(right, Qt::CaseInsensitive) == 0;
    };
    if (folder.server.isEmpty()) {
        return equals(folder.login, record.user_name);
    }
    const bool is_login = equals(folder.login, record.user_name) || equals(folder.login, record.address);
    const QString whole = folder.login + u'@' + folder.server;
    return (is_login && equals(folder.server, record.incoming.host)) || equals(whole, record.user_name) ||
           equals(whole, record.address);
}

/// A quote ends the text that a value is pasted into; what is no Unicode is not the same text once it was read.
bool is_plain(const QString& text)
{
    return !text.contains(u'\'') && !text.contains(QChar::Null) && !text.contains(QChar::ReplacementCharacter);
}

std::vector<account_row_key> keys_of(const account_store_content& content)
{
    std::vector<account_row_key> keys;
    keys.reserve(content.accounts.size());
    for (const store_account& row : content.accounts) {
        keys.push_back({row.key, row.identifier, row.user_name, row.looked_up_parent,
                        row.has_plain_keys && is_plain(row.identifier) && is_plain(row.user_name)});
    }
    return keys;
}

} // namespace

void user_dossier::add(account_record record, const char* row, const QString& store, qsizetype families)
{
    record.user = display_text(user);
    record.store = store;
    record.row = QLatin1String(row);
    if (record.family >= 0) {
        record.family += families;
    }
    dossier.accounts.append(std::move(record));
}

store_records user_dossier::read_copy(const evidence_copies& copies, log_use use, const QByteArray& name)
{
    evidence_limits limits;
    limits.milliseconds = milliseconds_a_reading;
    limits.cancelled = request.cancelled;
    const evidence_database database(copies, use, limits);
    const account_store_content content = read_account_store(database);
    // What the database lacks alone it also lacks with its log, unless the log brings it.
    if (use == log_use::with_log) {
        for (const QString& remark : content.remarks) {
            dossier.remarks.append(QStringLiteral("%1: %2").arg(copies.origin(), remark));
        }
        if (content.problems.isEmpty() && copies.problems().isEmpty()) {
            dossier.stores.push_back({user, name, keys_of(content)});
        }
    }
    const QString where = use == log_use::alone ? QLatin1String(without_log) : QString();
    for (const QString& problem : content.problems) {
        dossier.problems.append(
            (problem.startsWith(copies.origin()) ? problem : QStringLiteral("%1: %2").arg(copies.origin(), problem)) +
            where);
    }
    return make_account_records(content, folder_identifiers);
}

void user_dossier::read_store(const QByteArray& name, const QByteArray& path)
{
    const QString store = display_text(name);
    evidence_limits limits;
    limits.cancelled = request.cancelled;
    const evidence_copies copies(request.source, path, request.scratch, limits, request.copy_of);
    dossier.problems += copies.problems();
    store_records alone;
    if (copies.has_log()) {
        try {
            alone = read_copy(copies, log_use::alone, name);
        } catch (const evidence_failure& failure) {
            dossier.problems.append(failure.message() + QLatin1String(without_log));
        }
    }
    using row_key = std::pair<qint64, QString>;
    std::map<row_key, std::size_t> alone_by_key;
    for (std::size_t index = 0; index < alone.records.size(); ++index) {
        alone_by_key.emplace(row_key(alone.keys[index], alone.records[index].identifier), index);
    }
    store_records whole = read_copy(copies, log_use::with_log, name);
    const qsizetype families = dossier.families.size();
    for (std::size_t index = 0; index < whole.records.size(); ++index) {
        account_record& record = whole.records[index];
        const auto before = alone_by_key.find(row_key(whole.keys[index], record.identifier));
        const bool is_new = copies.has_log() && before == alone_by_key.end();
        if (before != alone_by_key.end()) {
            record.before_log = changes(record, alone.records[before->second]);
            alone_by_key.erase(before);
        }
        add(std::move(record), is_new ? "only in the log" : "database", store, families);
    }
    std::move(whole.families.begin(), whole.families.end(), std::back_inserter(dossier.families));
    const qsizetype families_alone = dossier.families.size();
    for (const auto& [key, index] : alone_by_key) {
        add(std::move(alone.records[index]), "removed by the log", store, families_alone);
    }
    std::move(alone.families.begin(), alone.families.end(), std::back_inserter(dossier.families));
}

/// A name that fits several accounts tells nothing of any; the same account in two stores is one.
QList<qsizetype> user_dossier::owners_by_name(const account_folder_found& folder,
                                              const QMultiHash<QString, qsizetype>& by_name) const
{
    QList<qsizetype> owners;
    QSet<QString> identifiers;
    for (const QString& name : {folder.login.toLower(), QString(folder.login + u'@' + folder.server).toLower()}) {
        for (auto found = by_name.constFind(name); found != by_name.constEnd() && found.key() == name; ++found) {
            if (!owners.contains(*found) && is_named_after(folder, dossier.accounts[*found])) {
                owners.append(*found);
                identifiers.insert(dossier.accounts[*found].identifier.toUpper());
            }
            if (identifiers.size() > 1 || owners.size() > most_rows_of_one_account) {
                return {};
            }
        }
    }
    return owners;
}

void user_dossier::assign_folders()
{
    QMultiHash<QString, qsizetype> by_identifier;
    QMultiHash<QString, qsizetype> by_name;
    for (qsizetype index = first; index < dossier.accounts.size(); ++index) {
        const account_record& record = dossier.accounts[index];
        by_identifier.insert(record.identifier.toUpper(), index);
        by_name.insert(record.user_name.toLower(), index);
        if (record.address.compare(record.user_name, Qt::CaseInsensitive) != 0) {
            by_name.insert(record.address.toLower(), index);
        }
    }
    for (account_folder_found& folder : folders) {
        if (!folder.is_account) {
            dossier.other_folders.append({display_text(user), folder.place});
            continue;
        }
        QList<qsizetype> owners;
        if (!folder.identifier.isEmpty()) {
            owners = by_identifier.values(folder.identifier);
            folder.place.matched_by = QStringLiteral("identifier");
        } else {
            owners = owners_by_name(folder, by_name);
            folder.place.matched_by = QStringLiteral("name");
        }
        for (const qsizetype owner : std::as_const(owners)) {
            dossier.accounts[owner].folders.append(folder.place);
        }
        if (owners.isEmpty()) {
            folder.place.matched_by.clear();
            add_folder_without_record(folder);
        }
    }
}

void user_dossier::add_folder_without_record(const account_folder_found& folder)
{
    account_record record;
    const auto note = [&record, &folder](const char* field) {
        record.sources.insert(QLatin1String(field), {QLatin1String(account_origin::folder_name), folder.name});
    };
    record.user = display_text(user);
    record.identifier = folder.identifier;
    record.type = folder.type;
    record.user_name = folder.login;
    record.incoming.host = folder.server;
    if (folder.login.contains(u'@')) {
        record.address = folder.login;
        record.addresses = {folder.login};
        note("address");
        note("addresses");
    }
    for (const auto& [field, is_there] :
         {std::pair{"identifier", !folder.identifier.isEmpty()}, std::pair{"type", !folder.type.isEmpty()},
          std::pair{"user_name", !folder.login.isEmpty()}, std::pair{"incoming.host", !folder.server.isEmpty()}}) {
        if (is_there) {
            note(field);
        }
    }
    if (folder.holds_quote) {
        record.marks.append(
            QStringLiteral("its folder's name holds a quote, at which a look-up that it is pasted into fails"));
    }
    record.folders.append(folder.place);
    dossier.accounts.append(std::move(record));
}

void user_dossier::read()
{
    folders = find_account_folders(request.source, user, request.copy_of, request.extents, dossier.problems);
    for (const account_folder_found& folder : folders) {
        if (!folder.identifier.isEmpty()) {
            folder_identifiers.insert(folder.identifier);
        }
    }
    const QByteArray accounts = child_path(child_path(request.source, "Users/" + user), accounts_directory);
    for (const char* name : account_store_names) {
        const QByteArray path = child_path(accounts, name);
        if (quiet_stat(path).kind == entry_kind::absent || request.cancelled()) {
            continue;
        }
        try {
            read_store(name, path);
        } catch (const evidence_failure& failure) {
            dossier.problems.append(failure.message());
        }
    }
    const qsizetype records_of_stores = dossier.accounts.size();
    assign_folders();
    for (qsizetype index = first; index < dossier.accounts.size(); ++index) {
        account_record& record = dossier.accounts[index];
        record.status = index >= records_of_stores ? QStringLiteral("folder without record")
                        : record.folders.isEmpty() ? QStringLiteral("record without folder")
                                                   : QStringLiteral("folder and record");
    }
}

account_dossier read_dossier(const dossier_request& request)
{
    account_dossier dossier;
    for (const QByteArray& user : request.users) {
        if (request.cancelled()) {
            dossier.problems.append(QStringLiteral("cancelled before all users were looked at"));
            break;
        }
        user_dossier(request, user, dossier).read();
    }
    return dossier;
}
