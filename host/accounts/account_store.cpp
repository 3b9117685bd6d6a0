#include "host/accounts/account_store.h"

#include "host/accounts/account_properties.h"
#include "host/accounts/keyed_archive.h"
#include "host/evidence/evidence_failure.h"
#include "host/text/display_text.h"

#include <QSet>

#include <algorithm>
#include <array>

namespace {

constexpr qsizetype longest_text = 1000;
constexpr qsizetype most_problems = 20;
// Of all texts together; what a real store holds is a thousandth of it.
constexpr qint64 most_bytes = 24 << 20;

QByteArray quoted_name(const QByteArray& name)
{
    return '"' + QByteArray(name).replace("\"", "\"\"") + '"';
}

/// Reads the tables one after the other.
class store_reader
{
public:
    explicit store_reader(const evidence_database& store) : database(store) {}

    account_store_content read();

private:
    template <std::size_t count>
    evidence_rows rows_of(const char* name, const std::array<const char*, count>& columns);
    bool is_there(const char* name);
    void attempt(void (store_reader::*step)());
    void read_accounts();
    void read_types();
    void read_classes();
    void read_class_members(const QByteArray& table, const QSet<qint64>& mail_classes);
    void read_properties();
    QString text(const evidence_rows& rows, int column);
    store_account account(const evidence_rows& rows);
    void spend(qint64 bytes);
    void add_problem(const QString& problem);

    const evidence_database& database;
    account_store_content content;
    qint64 bytes = 0;
    qint64 problems_not_listed = 0;
};

void store_reader::add_problem(const QString& problem)
{
    if (content.problems.contains(problem)) {
        return;
    }
    if (content.problems.size() < most_problems) {
        content.problems.append(problem);
    } else {
        ++problems_not_listed;
    }
}

void store_reader::spend(qint64 more)
{
    bytes += more;
    if (bytes > most_bytes) {
        throw evidence_failure(
            QStringLiteral("holds more than %1 bytes of text; the rest is not read").arg(most_bytes));
    }
}

bool store_reader::is_there(const char* name)
{
    const evidence_table& table = database.table(name);
    if (!table.refusal.isEmpty()) {
        add_problem(table.refusal + QStringLiteral("; it is not read"));
    } else if (!table.exists) {
        content.remarks.append(QStringLiteral("has no table %1").arg(QLatin1String(name)));
    }
    if (!table.damage.isEmpty()) {
        add_problem(table.damage);
    }
    return table.exists;
}

/// Selects columns in the order of their names; NULL stands for those that the table lacks.
template <std::size_t count>
evidence_rows store_reader::rows_of(const char* name, const std::array<const char*, count>& columns)
{
    const evidence_table& table = database.table(name);
    QByteArrayList selected;
    QStringList absent;
    for (const char* column : columns) {
        const bool is_key = qstrcmp(column, "Z_PK") == 0;
        selected.append(table.has(column) ? QByteArray(column) : is_key ? QByteArray("rowid") : QByteArray("NULL"));
        if (!table.has(column)) {
            absent.append(QLatin1String(column));
        }
    }
    if (!absent.isEmpty()) {
        content.remarks.append(QStringLiteral("%1 has no column %2").arg(QLatin1String(name), absent.join(u", ")));
    }
    return database.select("SELECT " + selected.join(',') + " FROM " + quoted_name(name));
}

QString store_reader::text(const evidence_rows& rows, int column)
{
    QString value = rows.text(column);
    if (value.size() > longest_text) {
        add_problem(
            QStringLiteral("holds a text of %1 characters where a name is due; it is not read").arg(value.size()));
        return {};
    }
    spend(value.size());
    return value;
}

std::optional<qint64> integer(const evidence_rows& rows, int column)
{
    return rows.is_number(column) ? std::optional(rows.integer(column)) : std::nullopt;
}

std::optional<bool> flag(const evidence_rows& rows, int column)
{
    return rows.is_number(column) ? std::optional(rows.integer(column) != 0) : std::nullopt;
}

std::optional<double> real(const evidence_rows& rows, int column)
{
    return rows.is_number(column) ? std::optional(rows.real(column)) : std::nullopt;
}

store_account store_reader::account(const evidence_rows& rows)
{
    store_account read;
    const auto is_text = [&rows](int column) { return !rows.is_number(column) && !rows.is_blob(column); };
    const auto as_integer = [&rows](int column) {
        bool is_integer = false;
        const qint64 number = rows.text(column).toLongLong(&is_integer);
        return is_integer ? std::optional(number) : std::nullopt;
    };
    read.looked_up_parent = as_integer(7);
    read.has_plain_keys = as_integer(0) && is_text(1) && is_text(2) && (rows.is_null(7) || read.looked_up_parent);
    read.has_quote_in_parent = !rows.is_number(7) && rows.bytes(7).contains('\'');
    read.key = rows.integer(0);
    read.identifier = text(rows, 1);
    read.user_name = text(rows, 2);
    read.description = text(rows, 3);
    read.owner = text(rows, 4);
    read.authentication_type = text(rows, 5);
    read.type = integer(rows, 6);
    read.parent = integer(rows, 7);
    read.active = flag(rows, 8);
    read.visible = flag(rows, 9);
    read.authenticated = flag(rows, 10);
    read.date = real(rows, 11);
    read.refused = real(rows, 12);
    if (!rows.is_null(13)) {
        const archived_value archive = read_keyed_archive(rows.bytes(13));
        if (archive.error.isEmpty()) {
            read.mail_dictionary = shown_mail_dictionary(archive.value, read.other_keys);
            spend(read.other_keys.size() * longest_text / 10);
        } else {
            add_problem(QStringLiteral("the data-class dictionary of account %1: %2").arg(read.key).arg(archive.error));
        }
    }
    return read;
}

void store_reader::read_accounts()
{
    constexpr std::array columns{"Z_PK",
                                 "ZIDENTIFIER",
                                 "ZUSERNAME",
                                 "ZACCOUNTDESCRIPTION",
                                 "ZOWNINGBUNDLEID",
                                 "ZAUTHENTICATIONTYPE",
                                 "ZACCOUNTTYPE",
                                 "ZPARENTACCOUNT",
                                 "ZACTIVE",
                                 "ZVISIBLE",
                                 "ZAUTHENTICATED",
                                 "ZDATE",
                                 "ZLASTCREDENTIALRENEWALREJECTIONDATE",
                                 "ZDATACLASSPROPERTIES"};
    evidence_rows rows = rows_of("ZACCOUNT", columns);
    while (rows.next()) {
        if (content.accounts.size() == most_accounts) {
            add_problem(QStringLiteral("holds more than %1 accounts; the rest is not read").arg(most_accounts));
            return;
        }
        store_account read = account(rows);
        content.by_key.insert(read.key, content.accounts.size());
        content.accounts.push_back(std::move(read));
    }
}

void store_reader::read_types()
{
    if (!is_there("ZACCOUNTTYPE")) {
        return;
    }
    evidence_rows rows = rows_of("ZACCOUNTTYPE", std::array{"Z_PK", "ZIDENTIFIER"});
    while (rows.next()) {
        content.type_identifiers.insert(rows.integer(0), text(rows, 1));
    }
}

/// The name of a data class is a keyed archive in every store seen, and a text where a store was converted.
QString class_name(const evidence_rows& rows, int column)
{
    return rows.is_blob(column) ? read_keyed_archive(rows.bytes(column)).value.toString() : rows.text(column);
}

void store_reader::read_classes()
{
    if (!is_there("ZDATACLASS")) {
        return;
    }
    QSet<qint64> mail_classes;
    evidence_rows rows = rows_of("ZDATACLASS", std::array{"Z_PK", "ZNAME"});
    while (rows.next()) {
        if (class_name(rows, 1) == QLatin1String("com.apple.Dataclass.Mail")) {
            mail_classes.insert(rows.integer(0));
        }
    }
    // The numbers in the names of the join table and of its columns differ from schema to schema.
    const QByteArrayList tables = database.tables_like("Z_*ENABLEDDATACLASSES");
    for (const QByteArray& table : tables.mid(0, 4)) {
        read_class_members(table, mail_classes);
    }
    if (!content.knows_mail_class) {
        content.remarks.append(QStringLiteral("does not say which data classes are enabled"));
    }
}

void store_reader::read_class_members(const QByteArray& table, const QSet<qint64>& mail_classes)
{
    if (!is_there(table.constData())) {
        return;
    }
    const QByteArrayList columns = database.table(table.constData()).columns;
    const auto ending = [&columns](const char* suffix) {
        const auto found = std::find_if(columns.begin(), columns.end(),
                                        [suffix](const QByteArray& name) { return name.endsWith(suffix); });
        return found == columns.end() ? QByteArray() : *found;
    };
    const QByteArray accounts = ending("ENABLEDACCOUNTS");
    const QByteArray classes = ending("ENABLEDDATACLASSES");
    if (accounts.isEmpty() || classes.isEmpty()) {
        return;
    }
    content.knows_mail_class = true;
    evidence_rows rows =
        database.select("SELECT " + quoted_name(accounts) + ',' + quoted_name(classes) + " FROM " + quoted_name(table));
    while (rows.next()) {
        const auto account = content.by_key.constFind(rows.integer(0));
        if (account != content.by_key.constEnd() && mail_classes.contains(rows.integer(1))) {
            content.accounts[*account].has_mail_class = true;
        }
    }
}

void store_reader::read_properties()
{
    if (!is_there("ZACCOUNTPROPERTY")) {
        return;
    }
    constexpr qsizetype most_keys = 500;
    evidence_rows rows = rows_of("ZACCOUNTPROPERTY", std::array{"ZOWNER", "ZKEY", "ZVALUE"});
    while (rows.next()) {
        const auto found = content.by_key.constFind(rows.integer(0));
        if (found == content.by_key.constEnd() || rows.is_null(0)) {
            continue;
        }
        store_account& owner = content.accounts[*found];
        const QString key = text(rows, 1);
        const archived_value archive = rows.is_blob(2)
                                           ? read_keyed_archive(rows.bytes(2))
                                           : archived_value{rows.is_null(2) ? QVariant() : rows.text(2), {}};
        const QVariant shown = shown_property(key, archive.value);
        if (shown.isValid()) {
            spend(qint64(sizeof(QVariant)) + shown.toString().size() + shown.toStringList().size() * 50);
            owner.properties.insert(key, shown);
            continue;
        }
        if (!archive.error.isEmpty() && is_shown_property(key)) {
            add_problem(QStringLiteral("property %1 of account %2: %3")
                            .arg(display_text(key))
                            .arg(owner.key)
                            .arg(archive.error));
        }
        if (owner.other_keys.size() < most_keys) {
            owner.other_keys.append({key, archived_type(archive)});
        }
    }
}

/// What one table holds is of use when another cannot be read.
void store_reader::attempt(void (store_reader::*step)())
{
    try {
        (this->*step)();
    } catch (const evidence_failure& failure) {
        add_problem(failure.message());
    }
}

account_store_content store_reader::read()
{
    try {
        if (!is_there("ZACCOUNT")) {
            return content;
        }
    } catch (const evidence_failure& failure) {
        add_problem(failure.message());
        return content;
    }
    for (const auto step : {&store_reader::read_accounts, &store_reader::read_types, &store_reader::read_classes,
                            &store_reader::read_properties}) {
        attempt(step);
    }
    if (problems_not_listed > 0) {
        content.problems.append(QStringLiteral("and %1 more").arg(problems_not_listed));
    }
    return content;
}

} // namespace

const store_account* account_store_content::parent_of(const store_account& account) const
{
    const auto found = account.parent ? by_key.constFind(*account.parent) : by_key.constEnd();
    return found == by_key.constEnd() ? nullptr : &accounts[*found];
}

QString account_store_content::type_of(const store_account& account) const
{
    return account.type ? type_identifiers.value(*account.type) : QString();
}

account_store_content read_account_store(const evidence_database& database)
{
    return store_reader(database).read();
}
