#include "host/mail_database/accounts_text.h"

#include "host/mail_database/account_fields.h"
#include "host/text/csv.h"
#include "host/text/display_text.h"
#include "host/text/text_table.h"

#include <algorithm>

namespace {

const QString separator = QStringLiteral("; ");

QString server_of(const account_server& server)
{
    return server.port && !server.host.isEmpty() ? QStringLiteral("%1:%2").arg(server.host).arg(*server.port)
                                                 : server.host;
}

QString text_for_person(const QString& text)
{
    return text.isEmpty() ? QStringLiteral("-") : text;
}

QString yes_or_no(const std::optional<bool>& flag)
{
    return !flag ? QStringLiteral("-") : *flag ? QStringLiteral("yes") : QStringLiteral("no");
}

/// "V10* V9": the star stands at the version in use.
QString versions_of(const account_record& record)
{
    QStringList versions;
    for (const account_place& place : record.folders) {
        versions.append(place.mail_version + (place.live == true ? QStringLiteral("*") : QString()));
    }
    return versions.join(u' ');
}

file_amount amount_of(const account_record& record)
{
    file_amount amount;
    for (const account_place& place : record.folders) {
        amount += place.amount;
    }
    return amount;
}

QString paths_of(const account_record& record)
{
    QStringList paths;
    for (const account_place& place : record.folders) {
        paths.append(place.path);
    }
    return paths.join(separator);
}

/// In a few words where an account was found, and what the store's log does to its row.
QString found_in(const account_record& record)
{
    const QString place = record.folders.isEmpty() ? QStringLiteral("store")
                          : record.store.isEmpty() ? QStringLiteral("folder")
                                                   : QStringLiteral("both");
    const bool is_in_log_alone = record.row == QLatin1String("only in the log");
    const bool is_removed = record.row == QLatin1String("removed by the log");
    return place + (is_in_log_alone ? QStringLiteral(", log only")
                    : is_removed    ? QStringLiteral(", removed")
                                    : QString());
}

/// The fields of a record and what hangs on it, one text each; the titles come from the same list.
QStringList all_texts(const account_record* record)
{
    QStringList texts;
    for (const account_field& field : account_fields()) {
        texts.append(record ? field.value(*record).toString() : QLatin1String(field.column));
    }
    const auto add = [&](const char* title, const auto& text_of) {
        texts.append(record ? text_of(*record) : QString(QLatin1String(title)));
    };
    add("addresses", [](const account_record& one) { return one.addresses.join(separator); });
    add("parent",
        [](const account_record& one) { return one.parents.isEmpty() ? QString() : one.parents.first().identifier; });
    add("mail_versions", versions_of);
    add("folders", paths_of);
    add("files", [](const account_record& one) { return QString::number(amount_of(one).files); });
    add("bytes", [](const account_record& one) { return QString::number(amount_of(one).bytes); });
    add("marks", [](const account_record& one) { return one.marks.join(separator); });
    add("before_log", [](const account_record& one) { return one.before_log.join(separator); });
    return texts;
}

} // namespace

QString account_title(const account_record& record)
{
    for (const QString* name : {&record.address, &record.user_name, &record.description, &record.identifier}) {
        if (!name->isEmpty()) {
            return *name;
        }
    }
    return record.folders.isEmpty() ? QStringLiteral("-") : record.folders.first().path.section(u'/', -1);
}

QString account_type_title(const account_record& record)
{
    const bool is_told = record.provider.isEmpty() || record.provider == record.type;
    const QString type = record.type.isEmpty() ? QStringLiteral("-") : record.type;
    return is_told ? type : QStringLiteral("%1 of %2").arg(type, record.provider);
}

QStringList accounts_table(const QList<account_record>& accounts, qsizetype width)
{
    const QList<table_column> columns{{QStringLiteral("user"), false, narrow_column},
                                      {QStringLiteral("account"), false, 3 * narrow_column},
                                      {QStringLiteral("type")},
                                      {QStringLiteral("server"), false, narrow_column},
                                      {QStringLiteral("mail")},
                                      {QStringLiteral("folders"), false, narrow_column},
                                      {QStringLiteral("files"), true},
                                      {QStringLiteral("found in")}};
    QList<QStringList> rows;
    QStringList marks;
    for (const account_record& record : accounts) {
        const account_server& server = record.incoming.host.isEmpty() ? record.outgoing : record.incoming;
        rows.append({record.user, account_title(record) + (record.marks.isEmpty() ? QString() : QStringLiteral(" (!)")),
                     account_type_title(record), text_for_person(server_of(server)), yes_or_no(record.mail_enabled),
                     text_for_person(versions_of(record)), QString::number(amount_of(record).files), found_in(record)});
        for (const QString& mark : record.marks) {
            marks.append(display_text(QStringLiteral("(!) %1, %2: %3").arg(record.user, account_title(record), mark)));
        }
    }
    return table_lines(columns, rows, width) + marks;
}

QStringList lines_of_other_folders(const account_dossier& dossier)
{
    QStringList lines;
    for (const auto& [user, place] : dossier.other_folders) {
        lines.append(
            QStringLiteral("no account folder: %1, %2 files").arg(place.path, display_number(place.amount.files)));
    }
    return lines;
}

QStringList wide_accounts_table(const QList<account_record>& accounts)
{
    QList<table_column> columns;
    const QStringList titles = all_texts(nullptr);
    for (const QString& title : titles) {
        columns.append({title});
    }
    QList<QStringList> rows;
    for (const account_record& record : accounts) {
        QStringList& row = rows.emplaceBack(all_texts(&record));
        std::transform(row.begin(), row.end(), row.begin(), text_for_person);
    }
    return table_lines(columns, rows, std::numeric_limits<qsizetype>::max());
}

QByteArrayList accounts_csv(const QList<account_record>& accounts, bool raw)
{
    const auto line_of = [raw](const account_record* record) {
        QByteArrayList fields;
        for (const QString& text : all_texts(record)) {
            fields.append(raw ? text.toUtf8() : spreadsheet_text(text.toUtf8()));
        }
        return csv_line(fields);
    };
    QByteArrayList lines{line_of(nullptr)};
    for (const account_record& record : accounts) {
        lines.append(line_of(&record));
    }
    return lines;
}
