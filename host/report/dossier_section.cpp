#include "host/report/dossier_section.h"

#include "host/html/parts.h"
#include "host/mail_database/account_fields.h"
#include "host/mail_database/account_reading.h"
#include "host/mail_database/accounts_text.h"
#include "host/result/result_paths.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <array>

namespace {

// More would make a page that no browser opens; mail.sqlite has them all.
constexpr qsizetype most_cards = 2000;
constexpr qsizetype most_lines = 50;

/// A line of a card: its label, the fields it shows one after the other, and whose origin stands beside them.
struct card_line
{
    const char* label;
    std::array<const char*, 3> fields;
    const char* origin;
};

constexpr std::array card_lines{
    card_line{"Address", {"address"}, "address"},
    card_line{"Full name", {"full_name"}, "full_name"},
    card_line{"Description", {"description"}, "description"},
    card_line{"User name", {"user_name"}, "user_name"},
    card_line{"Identifier", {"identifier"}, "identifier"},
    card_line{"Type", {"type", "type_identifier"}, "type"},
    card_line{"Provider", {"provider"}, "provider"},
    card_line{"Receives by", {"incoming_host", "incoming_port", "incoming_security"}, "incoming.host"},
    card_line{"Receives with", {"incoming_authentication"}, "incoming.authentication"},
    card_line{"Sends by", {"outgoing_host", "outgoing_port", "outgoing_security"}, "outgoing.host"},
    card_line{"Mail enabled", {"mail_enabled"}, "mail_enabled"},
    card_line{"Active", {"active"}, "active"},
    card_line{"Visible", {"visible"}, "visible"},
    card_line{"Authenticated", {"authenticated"}, "authenticated"},
    card_line{"Recorded date", {"recorded"}, "recorded"},
    card_line{"Credential last refused", {"last_refused"}, "last_refused"},
    card_line{"Account store", {"store", "row"}, ""},
};

QString shown_value(const account_record& record, const char* column)
{
    for (const account_field& field : account_fields()) {
        if (column == nullptr || qstrcmp(field.column, column) != 0) {
            continue;
        }
        const QVariant value = field.value(record);
        return field.is_flag() && !value.isNull() ? (value.toInt() ? QStringLiteral("yes") : QStringLiteral("no"))
                                                  : value.toString();
    }
    return {};
}

void write_fact(report_html& html, const char* label, const QString& value, const QString& origin)
{
    if (value.isEmpty()) {
        return;
    }
    html.element("dt", QLatin1String(label));
    const auto fact = html.open("dd");
    html.foreign(display_text(value));
    if (!origin.isEmpty()) {
        html.element("span", QStringLiteral("  (%1)").arg(origin), {{"class", QStringLiteral("muted")}});
    }
}

QString name_text(const account_name& name)
{
    QStringList parts{name.description, name.type_identifier, name.identifier};
    parts.removeAll(QString());
    return parts.join(QStringLiteral(", "));
}

void write_names(report_html& html, const char* label, const QList<account_name>& names, qint64 not_named)
{
    QStringList texts;
    for (const account_name& name : names) {
        texts.append(name_text(name));
    }
    if (not_named > 0) {
        texts.append(QStringLiteral("and %1 more").arg(display_number(not_named)));
    }
    write_fact(html, label, texts.join(QStringLiteral("; ")), {});
}

void write_folders(report_html& html, const QList<account_place>& folders)
{
    if (folders.isEmpty()) {
        return;
    }
    const auto frame = html.open("div", {{"class", QStringLiteral("scroll")}});
    const auto table = html.open("table");
    write_table_head(html, {{"Mail"}, {"In use"}, {"Folder"}, {"Files", true}, {"Size", true}});
    const auto body = html.open("tbody");
    for (const account_place& place : folders.mid(0, most_lines)) {
        const auto row = html.open("tr");
        write_foreign_cell(html, place.mail_version);
        html.element("td", !place.live   ? QStringLiteral("not known")
                           : *place.live ? QStringLiteral("yes")
                                         : QStringLiteral("no"));
        write_foreign_cell(html, place.path);
        write_number(html, place.amount.files, display_number(place.amount.files));
        write_number(html, place.amount.bytes, display_bytes(place.amount.bytes));
    }
}

void write_card(report_html& html, const account_dossier& dossier, const account_record& record)
{
    const auto card = html.open("details", {{"class", QStringLiteral("account")}});
    {
        const auto summary = html.open("summary");
        html.foreign(display_text(account_title(record)));
        html.element("span", QStringLiteral("  %1").arg(display_text(account_type_title(record))),
                     {{"class", QStringLiteral("muted")}});
        html.element("span", QStringLiteral("  found: %1").arg(display_text(record.status)),
                     {{"class", QStringLiteral("muted")}});
    }
    for (const QString& mark : record.marks) {
        write_notice(html, "warn", display_text(mark));
    }
    {
        const auto facts = html.open("dl", {{"class", QStringLiteral("facts")}});
        for (const card_line& line : card_lines) {
            QStringList values;
            for (const char* field : line.fields) {
                values.append(shown_value(record, field));
            }
            values.removeAll(QString());
            write_fact(html, line.label, values.join(QStringLiteral(", ")),
                       record.sources.value(QLatin1String(line.origin)).origin);
        }
        write_fact(html, "All addresses", record.addresses.join(QStringLiteral(", ")), {});
        write_names(html, "Belongs to", record.parents, 0);
        const auto [siblings, not_named] = siblings_of(dossier, record);
        write_names(html, "Beside it", siblings, not_named);
        write_fact(html, "Before the log", record.before_log.mid(0, most_lines).join(QStringLiteral("; ")), {});
    }
    write_folders(html, record.folders);
}

/// Writes the cards, those of each user folded unless there is one user only.
void write_users(report_html& html, const account_dossier& dossier)
{
    const QList<account_record> shown = dossier.accounts.mid(0, most_cards);
    for (qsizetype begin = 0, end = 0; begin < shown.size(); begin = end) {
        while (end < shown.size() && shown[end].user == shown[begin].user) {
            ++end;
        }
        const auto user = begin == 0 && end == shown.size()
                              ? html.open("details", {{"class", QStringLiteral("user")}, {"open", QString()}})
                              : html.open("details", {{"class", QStringLiteral("user")}});
        {
            const auto head = html.open("summary");
            html.foreign(display_text(shown[begin].user));
            html.element("span", QStringLiteral("  %1 records").arg(display_number(end - begin)),
                         {{"class", QStringLiteral("muted")}});
        }
        for (const account_record& record : shown.mid(begin, end - begin)) {
            write_card(html, dossier, record);
        }
    }
}

void write_other_folders(report_html& html, const QList<other_folder>& folders)
{
    if (folders.isEmpty()) {
        return;
    }
    html.element("h3", QStringLiteral("Folders that are no account's"));
    const auto part = html.open("details", {{"class", QStringLiteral("findings")}});
    html.element("summary",
                 QStringLiteral("%1 folders of Mail version directories").arg(display_number(folders.size())));
    const auto frame = html.open("div", {{"class", QStringLiteral("scroll")}});
    const auto table = html.open("table");
    write_table_head(html, {{"Folder"}, {"Files", true}, {"Size", true}});
    const auto body = html.open("tbody");
    for (const other_folder& folder : folders.mid(0, most_cards)) {
        const auto row = html.open("tr");
        write_foreign_cell(html, folder.place.path);
        write_number(html, folder.place.amount.files, display_number(folder.place.amount.files));
        write_number(html, folder.place.amount.bytes, display_bytes(folder.place.amount.bytes));
    }
    if (folders.size() > most_cards) {
        const auto row = html.open("tr");
        html.element("td",
                     QStringLiteral("and %1 more in %2")
                         .arg(display_number(folders.size() - most_cards), product_name(product::mail_database)),
                     {{"colspan", QStringLiteral("3")}});
    }
}

} // namespace

report_dossier load_dossier(const result_paths& result)
{
    try {
        return {read_accounts(result), {}};
    } catch (const failure& unread) {
        return {std::nullopt, unread.message()};
    }
}

void write_dossier(report_html& html, const report_dossier& dossier)
{
    if (!dossier.found) {
        const auto line = html.open("p");
        html.foreign(QStringLiteral("Who the accounts are is not known: ") + display_text(dossier.problem));
        return;
    }
    for (const QString& problem : dossier.found->problems.mid(0, most_lines)) {
        write_notice(html, "bad", display_text(problem));
    }
    for (const QString& remark : dossier.found->remarks.mid(0, most_lines)) {
        const auto line = html.open("p", {{"class", QStringLiteral("muted")}});
        html.foreign(display_text(remark));
    }
    {
        const auto users = html.open("div", {{"data-filter", QStringLiteral("yes")}});
        write_users(html, *dossier.found);
    }
    if (dossier.found->accounts.size() > most_cards) {
        html.element("p", QStringLiteral("%1 more accounts stand in %2.")
                              .arg(display_number(dossier.found->accounts.size() - most_cards),
                                   product_name(product::mail_database)));
    }
    write_other_folders(html, dossier.found->other_folders);
}
