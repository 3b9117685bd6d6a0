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
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariant>

#include <functional>
#include <optional>

namespace {

/// The columns that tell of something beside the rows. It lacks a number, by which each row is known.
QHash<QString, QString> cells_of(const item_without_row& item)
{
    return {{QStringLiteral("system_user"), item.user},
            {QStringLiteral("account"), item.account},
            {QStringLiteral("account_type"), item.type},
            {QStringLiteral("source_file"), item.folder.isEmpty() ? QString() : u'/' + item.folder},
            {QStringLiteral("notes"), item.remark}};
}

/// Hands the rows of the table over one by one, then what was found beside them as rows of the same columns.
void for_each_row(QSqlQuery& rows, row_comparison* found,
                  const std::function<void(const std::function<QVariant(int)>&)>& print)
{
    const QSqlRecord columns = rows.record();
    QList<item_without_row> further;
    while (rows.next()) {
        print([&rows](int column) { return rows.value(column); });
        const auto text = [&rows](const char* column) { return rows.value(QLatin1String(column)).toString(); };
        if (!found) {
            continue;
        }
        const QStringList marks = found->take(text("system_user"), text("account"), text("dest_path"));
        if (!marks.isEmpty()) {
            further.append({text("system_user"),
                            text("account"),
                            text("account_type"),
                            {},
                            0,
                            QStringLiteral("row %1: %2").arg(text("INT"), warning_text(marks))});
        }
    }
    if (found) {
        further += found->without_row();
    }
    for (const item_without_row& item : std::as_const(further)) {
        const QHash<QString, QString> cells = cells_of(item);
        print([&](int column) {
            const QString text = cells.value(columns.fieldName(column));
            return text.isEmpty() ? QVariant() : QVariant(text);
        });
    }
}

void print_csv(QSqlQuery& rows, row_comparison* found, bool raw)
{
    const QSqlRecord columns = rows.record();
    const auto print_record = [&columns, raw](const auto& field_of) {
        QByteArrayList fields;
        for (int i = 0; i < columns.count(); ++i) {
            const QByteArray text = QVariant(field_of(i)).toString().toUtf8();
            fields.append(raw ? text : spreadsheet_text(text));
        }
        print_bytes(csv_line(fields));
    };
    print_record([&columns](int i) { return columns.fieldName(i); });
    for_each_row(rows, found, print_record);
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

void print_json(QSqlQuery& rows, row_comparison* found)
{
    const QSqlRecord columns = rows.record();
    QByteArray separator = "[";
    for_each_row(rows, found, [&](const std::function<QVariant(int)>& value_of) {
        QByteArrayList members;
        for (int i = 0; i < columns.count(); ++i) {
            const QString name = columns.fieldName(i);
            members.append(json_text(name) + ": " + json_text(json_value(name, value_of(i))));
        }
        print_bytes(separator + "\n  {" + members.join(", ") + '}');
        separator = ",";
    });
    print_bytes(separator == "[" ? "[]\n" : "\n]\n");
}

void print_table(QSqlQuery& rows, const result_paths& result, row_comparison* found, bool wide)
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
    QSqlQuery rows = database.query(QStringLiteral("SELECT * FROM %1 ORDER BY INT").arg(shared_texts::accounts_table));
    const std::optional<account_dossier> dossier = options.raw ? std::nullopt : dossier_of(result);
    std::optional<row_comparison> comparison;
    if (dossier) {
        comparison.emplace(*dossier);
    }
    row_comparison* found = comparison ? &*comparison : nullptr;
    if (options.format == QLatin1String("csv")) {
        print_csv(rows, found, options.raw);
    } else if (options.format == QLatin1String("json")) {
        print_json(rows, found);
    } else {
        print_table(rows, result, found, options.wide);
    }
    // A suite leaves the table alone; where the program ran, it left more.
    const bool is_due = !options.raw && QFileInfo::exists(result.path(product::run_record));
    return is_due && !dossier ? exit_code::with_failures : exit_code::whole;
}
