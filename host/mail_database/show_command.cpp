#include "host/mail_database/show_command.h"

#include "host/mail_database/account_reading.h"
#include "host/mail_database/show_table.h"
#include "host/result/result_database.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/terminal/screen.h"
#include "host/text/csv.h"
#include "host/text/failure.h"
#include "host/text/text_layout.h"
#include "support/shared_texts.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QVariant>

#include <optional>

namespace {

void print_csv(checked_rows& rows, bool raw)
{
    const QStringList columns = rows.columns();
    const auto print_record = [&columns, raw](const auto& field_text) {
        QByteArrayList fields;
        for (qsizetype i = 0; i < columns.size(); ++i) {
            const QByteArray text = field_text(static_cast<int>(i)).toUtf8();
            fields.append(raw ? text : spreadsheet_text(text));
        }
        print_bytes(csv_line(fields));
    };
    print_record([&columns](int i) { return columns.at(i); });
    while (rows.next()) {
        print_record([&rows](int i) { return rows.value(i).toString(); });
    }
}

/// Counts are kept as text by the table's declaration; a reader of JSON expects them as numbers.
QJsonValue json_value(const QString& column, const QVariant& value)
{
    if (value.isNull()) {
        return QJsonValue::Null;
    }
    bool is_number = false;
    const qint64 number = value.toLongLong(&is_number);
    const bool counts = column == QLatin1String("INT") || column == QLatin1String("bookmark") ||
                        column == QLatin1String("files_copied");
    return counts && is_number ? QJsonValue(number) : QJsonValue(value.toString());
}

QByteArray json_text(const QJsonValue& value)
{
    const QByteArray in_array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return in_array.mid(1, in_array.size() - 2);
}

void print_json(checked_rows& rows)
{
    const QStringList columns = rows.columns();
    QByteArray separator = "[";
    while (rows.next()) {
        QByteArrayList members;
        for (qsizetype i = 0; i < columns.size(); ++i) {
            const QString& name = columns.at(i);
            members.append(json_text(name) + ": " + json_text(json_value(name, rows.value(static_cast<int>(i)))));
        }
        print_bytes(separator + "\n  {" + members.join(", ") + '}');
        separator = ",";
    }
    print_bytes(separator == "[" ? "[]\n" : "\n]\n");
}

void print_table(checked_rows& rows, const result_paths& result, row_comparison* found, bool wide)
{
    const qsizetype width = wide ? unlimited_width : screen_columns(page_width);
    QStringList lines = lines_of_rows(rows, row_folders(result), found, width);
    if (found) {
        lines += lines_without_row(found->without_row(), width);
    }
    for (const QString& line : std::as_const(lines)) {
        print_line(line);
    }
}

/// Reads what the program itself found; nothing, and says so, when that cannot be read.
std::optional<account_dossier> dossier_of(const result_paths& result)
try {
    account_dossier dossier = read_accounts(result);
    for (const QString& problem : std::as_const(dossier.problems)) {
        complain(problem);
    }
    return dossier;
} catch (const failure& unread) {
    complain(QStringLiteral("what has no row in the table is not known: ") + unread.message());
    return std::nullopt;
}

} // namespace

int show_command(const show_options& options)
{
    const result_paths result(options.result);
    const result_database database(result);
    checked_rows rows =
        database.query(QStringLiteral("SELECT * FROM %1 ORDER BY INT").arg(shared_texts::accounts_table));
    // Programs read the plug-in's table and nothing else; "accounts" tells them what the program found.
    if (options.format == QLatin1String("csv")) {
        print_csv(rows, options.raw);
        return exit_code::whole;
    }
    if (options.format == QLatin1String("json")) {
        print_json(rows);
        return exit_code::whole;
    }
    const std::optional<account_dossier> dossier = dossier_of(result);
    std::optional<row_comparison> comparison;
    if (dossier) {
        comparison.emplace(*dossier);
    }
    print_table(rows, result, comparison ? &*comparison : nullptr, options.wide);
    // A suite leaves the table alone; where the program ran, it left more.
    const bool is_due = QFileInfo::exists(result.path(product::run_record));
    return is_due && !dossier ? exit_code::with_failures : exit_code::whole;
}
