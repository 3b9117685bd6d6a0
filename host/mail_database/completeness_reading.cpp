#include "host/mail_database/completeness_reading.h"

#include "host/mail_database/own_database.h"
#include "host/text/display_text.h"

#include <array>
#include <utility>

namespace {

/// Text columns of a store and where they go.
constexpr std::array<std::pair<const char*, QString store_certificate::*>, 10> store_texts{
    {{"user", &store_certificate::user},
     {"mail_version", &store_certificate::mail_version},
     {"index_path", &store_certificate::index_path},
     {"index_state", &store_certificate::index_state},
     {"index_problem", &store_certificate::index_problem},
     {"schema", &store_certificate::schema},
     {"schema_version", &store_certificate::schema_version},
     {"minor_version", &store_certificate::minor_version},
     {"store_identifier", &store_certificate::store_identifier},
     {"generation", &store_certificate::generation}}};

constexpr std::array<std::pair<const char*, qint64 store_certificate::*>, 4> store_numbers{
    {{"rows", &store_certificate::rows},
     {"pairs", &store_certificate::pairs},
     {"repeated", &store_certificate::repeated},
     {"dangling_labels", &store_certificate::dangling_labels}}};

/// The lists of notes by the kind under which they are kept.
constexpr std::array<std::pair<const char*, QStringList store_certificate::*>, 5> note_lists{
    {{"not looked at", &store_certificate::not_looked_at},
     {"link", &store_certificate::links},
     {"index", &store_certificate::index_notes},
     {"column not there", &store_certificate::missing},
     {"does not close", &store_certificate::not_closing}}};

QString ordered(const char* table)
{
    return QStringLiteral("SELECT * FROM %1 ORDER BY rowid").arg(QLatin1String(table));
}

store_certificate* store_of(completeness_certificate& certificate, const checked_rows& rows)
{
    const qint64 number = rows.value(QStringLiteral("store")).toLongLong();
    return number >= 1 && number <= certificate.stores.size() ? &certificate.stores[number - 1] : nullptr;
}

void read_stores(const own_database& database, completeness_certificate& certificate)
{
    checked_rows rows = database.query(ordered("completeness_stores"));
    while (rows.next()) {
        store_certificate& store = certificate.stores.emplaceBack();
        for (const auto& [column, member] : store_texts) {
            store.*member = rows.value(QLatin1String(column)).toString();
        }
        for (const auto& [column, member] : store_numbers) {
            store.*member = rows.value(QLatin1String(column)).toLongLong();
        }
    }
}

void read_mailboxes(const own_database& database, completeness_certificate& certificate)
{
    checked_rows rows = database.query(QStringLiteral("SELECT m.*, a.setting FROM completeness_mailboxes m LEFT JOIN "
                                                      "completeness_accounts a ON a.store = m.store AND "
                                                      "a.account = m.account ORDER BY m.rowid"));
    while (rows.next()) {
        store_certificate* store = store_of(certificate, rows);
        if (!store) {
            continue;
        }
        mailbox_certificate mailbox{rows.value(QStringLiteral("account")).toString(),
                                    rows.value(QStringLiteral("mailbox")).toString(),
                                    rows.value(QStringLiteral("label")).toBool(),
                                    rows.value(QStringLiteral("setting")).toString(),
                                    {}};
        for (const named_figure& figure : figure_names) {
            mailbox.figures.*figure.value = rows.value(QLatin1String(figure.name)).toLongLong();
        }
        if (!mailbox.is_label) {
            store->totals += mailbox.figures;
            certificate.totals += mailbox.figures;
        }
        store->mailboxes.append(mailbox);
    }
}

void read_notes(const own_database& database, completeness_certificate& certificate)
{
    checked_rows rows = database.query(ordered("completeness_notes"));
    while (rows.next()) {
        store_certificate* store = store_of(certificate, rows);
        for (const auto& [kind, list] : note_lists) {
            if (store && rows.value(QStringLiteral("kind")).toString() == QLatin1String(kind)) {
                (store->*list).append(rows.value(QStringLiteral("text")).toString());
            }
        }
    }
}

void read_lone_accounts(const own_database& database, completeness_certificate& certificate)
{
    checked_rows rows = database.query(
        QStringLiteral("SELECT * FROM completeness_accounts WHERE has_folder <> in_index ORDER BY rowid"));
    while (rows.next()) {
        if (store_certificate* store = store_of(certificate, rows)) {
            store->lone_accounts.append(
                {rows.value(QStringLiteral("account")).toString(), rows.value(QStringLiteral("has_folder")).toBool()});
        }
    }
}

} // namespace

completeness_certificate read_completeness(const result_paths& result)
{
    const own_database database(result);
    completeness_certificate certificate;
    read_stores(database, certificate);
    read_mailboxes(database, certificate);
    read_notes(database, certificate);
    read_lone_accounts(database, certificate);
    // What was true when it was written must be true of what is read.
    certificate.closes = certificate.totals.closes();
    for (const store_certificate& store : std::as_const(certificate.stores)) {
        certificate.closes = certificate.closes && store.not_closing.isEmpty() && store.totals.closes();
    }
    return certificate;
}

QStringList completeness_remarks(const completeness_certificate& certificate)
{
    QStringList remarks;
    const auto add = [&](const char* what, const auto& texts_of) {
        for (const store_certificate& store : certificate.stores) {
            const QString version = store.mail_version.isEmpty() ? QStringLiteral("Mail") : store.mail_version;
            for (const QString& text : QStringList(texts_of(store))) {
                remarks.append(QStringLiteral("%1 %2: %3").arg(store.user, version, QLatin1String(what) + text));
            }
        }
    };
    if (!certificate.closes) {
        remarks.append(QStringLiteral("THE SUMS DO NOT CLOSE: the figures are not to be relied on"));
    }
    add("", [](const store_certificate& store) { return store.not_closing; });
    add("", [](const store_certificate& store) {
        const QString path = QStringLiteral("%1: ").arg(store.index_path);
        return store.index_state == QLatin1String("absent")
                   ? QStringList(path + QStringLiteral("there is no index; files are compared with nothing"))
               : store.index_state == QLatin1String("refused")
                   ? QStringList(QStringLiteral("the index is not read; files are compared with nothing: ") +
                                 store.index_problem)
               : store.index_state == QLatin1String("incomplete")
                   ? QStringList(path + QStringLiteral("the index is read in part only"))
                   : QStringList();
    });
    add("", [](const store_certificate& store) { return store.index_notes; });
    add("not looked at: ", [](const store_certificate& store) { return store.not_looked_at; });
    add("", [](const store_certificate& store) { return store.links; });
    add("", [](const store_certificate& store) {
        QStringList texts;
        const bool is_compared =
            store.index_state == QLatin1String("read") || store.index_state == QLatin1String("incomplete");
        for (const lone_account& account : store.lone_accounts) {
            if (is_compared || !account.has_folder) {
                texts.append(account.account + (account.has_folder
                                                    ? QStringLiteral(": a folder of which the index knows nothing")
                                                    : QStringLiteral(": in the index, but there is no folder")));
            }
        }
        return texts;
    });
    return remarks;
}
