#include "host/mail_database/completeness_text.h"

#include "host/text/csv.h"
#include "host/text/display_text.h"
#include "host/text/text_table.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

/// The figures' titles in a table, in the order of figure_names.
constexpr std::array<const char*, figure_names.size()> figure_titles{
    "on disk", "index", "both", "disk only", "index only", "unreadable", "with row", "absent", "deleted"};

QString shown(const QString& text)
{
    return text.isEmpty() ? QStringLiteral("-") : text;
}

/// The columns before the figures, of a table and of CSV.
QStringList place_of(const store_certificate& store, const mailbox_certificate& mailbox)
{
    return {store.user, store.mail_version, mailbox.account, mailbox.mailbox};
}

template <typename taker>
void for_each_mailbox(const completeness_certificate& certificate, const taker& take)
{
    for (const store_certificate& store : certificate.stores) {
        for (const mailbox_certificate& mailbox : store.mailboxes) {
            take(store, mailbox);
        }
    }
}

QStringList figure_texts(const completeness_figures& figures)
{
    QStringList texts;
    for (const named_figure& figure : figure_names) {
        texts.append(display_number(figures.*figure.value));
    }
    return texts;
}

QJsonObject figures_to_json(const completeness_figures& figures)
{
    QJsonObject object;
    for (const named_figure& figure : figure_names) {
        object.insert(QLatin1String(figure.name), figures.*figure.value);
    }
    return object;
}

QJsonValue text_or_null(const QString& text)
{
    return text.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QJsonObject mailbox_to_json(const store_certificate& store, const mailbox_certificate& mailbox)
{
    QJsonObject object = figures_to_json(mailbox.figures);
    object.insert(QStringLiteral("user"), store.user);
    object.insert(QStringLiteral("mail_version"), store.mail_version);
    object.insert(QStringLiteral("account"), mailbox.account);
    object.insert(QStringLiteral("mailbox"), mailbox.mailbox);
    object.insert(QStringLiteral("label"), mailbox.is_label);
    object.insert(QStringLiteral("setting"), text_or_null(mailbox.setting));
    object.insert(QStringLiteral("index"), store.index_state);
    return object;
}

QJsonObject store_to_json(const store_certificate& store)
{
    QJsonArray lone;
    for (const lone_account& account : store.lone_accounts) {
        lone.append(QJsonObject{{"account", account.account}, {"folder", account.has_folder}});
    }
    return {{"user", store.user},
            {"mail_version", store.mail_version},
            {"index", QJsonObject{{"path", store.index_path},
                                  {"state", store.index_state},
                                  {"problem", text_or_null(store.index_problem)},
                                  {"schema", text_or_null(store.schema)},
                                  {"version", text_or_null(store.schema_version)},
                                  {"minor_version", text_or_null(store.minor_version)},
                                  {"store", text_or_null(store.store_identifier)},
                                  {"generation", text_or_null(store.generation)},
                                  {"rows", store.rows},
                                  {"notes", QJsonArray::fromStringList(store.index_notes)},
                                  {"columns_not_there", QJsonArray::fromStringList(store.missing)}}},
            {"totals", figures_to_json(store.totals)},
            {"pairs", store.pairs},
            {"repeated", store.repeated},
            {"dangling_labels", store.dangling_labels},
            {"lone_accounts", lone},
            {"not_looked_at", QJsonArray::fromStringList(store.not_looked_at)},
            {"links_not_followed", QJsonArray::fromStringList(store.links)},
            {"not_closing", QJsonArray::fromStringList(store.not_closing)}};
}

QString index_line(const store_certificate& store)
{
    const QString version = store.mail_version.isEmpty() ? QStringLiteral("Mail") : store.mail_version;
    return QStringLiteral("%1 %2: index of %3, version %4.%5, store %6, generation %7")
        .arg(store.user, version, shown(store.schema), shown(store.schema_version), shown(store.minor_version),
             shown(store.store_identifier), shown(store.generation));
}

} // namespace

QStringList completeness_table(const completeness_certificate& certificate, qsizetype width)
{
    QList<table_column> columns{{QStringLiteral("user"), false, narrow_column},
                                {QStringLiteral("mail")},
                                {QStringLiteral("account"), false, narrow_column},
                                {QStringLiteral("mailbox"), false, narrow_column}};
    for (const char* title : figure_titles) {
        columns.append({QLatin1String(title), true});
    }
    QList<QStringList> rows;
    for_each_mailbox(certificate, [&rows](const store_certificate& store, const mailbox_certificate& mailbox) {
        QStringList& row = rows.emplaceBack(place_of(store, mailbox));
        std::transform(row.begin(), row.end(), row.begin(), shown);
        row.last() += mailbox.is_label ? QStringLiteral(" *") : QString();
        row += figure_texts(mailbox.figures);
    });
    rows.append(QStringList{QStringLiteral("total"), QString(), QString(), QString()} +
                figure_texts(certificate.totals));
    QStringList lines = table_lines(columns, rows, width);
    lines +=
        {QString(),
         QStringLiteral("disk only: no longer shown by Mail; index only: not kept on this Mac; with row: unreadable "
                        "files that the index lists;"),
         QStringLiteral("absent: attachments named in messages and not there; deleted: rows marked so, counted "
                        "wherever they are;"),
         QStringLiteral("*: a label, whose messages lie in another mailbox and are no part of the total.")};
    for (const store_certificate& store : certificate.stores) {
        if (!store.schema.isEmpty()) {
            lines.append(index_line(store));
        }
    }
    return lines;
}

QByteArrayList completeness_csv(const completeness_certificate& certificate, bool raw)
{
    QByteArrayList titles{"user", "mail_version", "account", "mailbox", "label", "index", "setting"};
    for (const named_figure& figure : figure_names) {
        titles.append(figure.name);
    }
    QByteArrayList lines{csv_line(titles)};
    const auto add = [&lines, raw](const QStringList& texts, const completeness_figures& figures) {
        QByteArrayList fields;
        for (const QString& text : texts) {
            fields.append(raw ? text.toUtf8() : spreadsheet_text(text.toUtf8()));
        }
        for (const named_figure& figure : figure_names) {
            fields.append(QByteArray::number(figures.*figure.value));
        }
        lines.append(csv_line(fields));
    };
    for_each_mailbox(certificate, [&add](const store_certificate& store, const mailbox_certificate& mailbox) {
        add(place_of(store, mailbox) + QStringList{mailbox.is_label ? QStringLiteral("yes") : QStringLiteral("no"),
                                                   store.index_state, mailbox.setting},
            mailbox.figures);
    });
    add({QStringLiteral("total"), {}, {}, {}, {}, {}, {}}, certificate.totals);
    return lines;
}

QByteArray completeness_json(const completeness_certificate& certificate)
{
    QJsonArray mailboxes;
    for_each_mailbox(certificate, [&mailboxes](const store_certificate& store, const mailbox_certificate& mailbox) {
        mailboxes.append(mailbox_to_json(store, mailbox));
    });
    QJsonArray stores;
    for (const store_certificate& store : certificate.stores) {
        stores.append(store_to_json(store));
    }
    return QJsonDocument(QJsonObject{{"totals", figures_to_json(certificate.totals)},
                                     {"closes", certificate.closes},
                                     {"mailboxes", mailboxes},
                                     {"stores", stores}})
        .toJson(QJsonDocument::Indented);
}
