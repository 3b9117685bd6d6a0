#include "host/result/show_command.h"

#include "host/result/dated_folders.h"
#include "host/result/result_database.h"
#include "host/result/row_folders.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/terminal/screen.h"
#include "host/text/csv.h"
#include "host/text/text_layout.h"
#include "host/text/text_table.h"
#include "support/shared_texts.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariant>

namespace {

// Wide enough for a date, a version directory and the end of a name.
constexpr qsizetype folder_column = 36;

/// Leaves off what the folders of all rows begin with; a folder that lies elsewhere stays as it is.
QString short_folder(const QString& folder, const QString& user)
{
    const QString own = below_own_dated_folder(folder, user);
    return own.isEmpty() ? below_copies(folder) : QChar(u'…') + own;
}

QString text_for_person(const QString& text)
{
    return text.isEmpty() ? QStringLiteral("-") : text;
}

void print_table(QSqlQuery& rows, const row_folders& folders, bool wide)
{
    const QList<table_column> columns{{QStringLiteral("#"), true},
                                      {QStringLiteral("user"), false, narrow_column},
                                      {QStringLiteral("account"), false, narrow_column},
                                      {QStringLiteral("type")},
                                      {QStringLiteral("files"), true},
                                      {QStringLiteral("folder"), false, folder_column}};
    QList<QStringList> texts;
    qint64 moved = 0;
    while (rows.next()) {
        QStringList& row = texts.emplaceBack();
        for (const char* column : {"INT", "system_user", "account", "account_type", "files_copied"}) {
            row.append(text_for_person(rows.value(QLatin1String(column)).toString()));
        }
        const QString user = rows.value(QStringLiteral("system_user")).toString();
        const QString named = rows.value(QStringLiteral("dest_path")).toString();
        const QString place = folders.place_of(named, user).value_or(named);
        moved += place == named ? 0 : 1;
        row.append(text_for_person(short_folder(place, user)));
    }
    if (!texts.isEmpty()) {
        print_line(QStringLiteral("folders below /%1, where … is %2_<user>_")
                       .arg(shared_texts::plugin_directory, shared_texts::artifact_folder));
    }
    for (const QString& line : table_lines(columns, texts, wide ? unlimited_width : screen_columns(page_width))) {
        print_line(line);
    }
    if (moved > 0) {
        print_line(QStringLiteral("accounts whose row names a folder of another day than the one shown, which holds "
                                  "their copies: %1")
                       .arg(moved));
    }
}

void print_csv(QSqlQuery& rows, bool raw)
{
    const QSqlRecord columns = rows.record();
    const auto print_record = [&columns, raw](auto field_text) {
        QByteArrayList fields;
        for (int i = 0; i < columns.count(); ++i) {
            const QByteArray text = field_text(i).toUtf8();
            fields.append(raw ? text : spreadsheet_text(text));
        }
        print_bytes(csv_line(fields));
    };
    print_record([&columns](int i) { return columns.fieldName(i); });
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

void print_json(QSqlQuery& rows)
{
    const QSqlRecord columns = rows.record();
    QByteArray separator = "[";
    while (rows.next()) {
        QByteArrayList members;
        for (int i = 0; i < columns.count(); ++i) {
            const QString name = columns.fieldName(i);
            members.append(json_text(name) + ": " + json_text(json_value(name, rows.value(i))));
        }
        print_bytes(separator + "\n  {" + members.join(", ") + '}');
        separator = ",";
    }
    print_bytes(separator == "[" ? "[]\n" : "\n]\n");
}

} // namespace

int show_command(const show_options& options)
{
    const result_paths result(options.result);
    const result_database database(result);
    QSqlQuery rows = database.query(QStringLiteral("SELECT * FROM %1 ORDER BY INT").arg(shared_texts::accounts_table));
    if (options.format == QLatin1String("csv")) {
        print_csv(rows, options.raw);
    } else if (options.format == QLatin1String("json")) {
        print_json(rows);
    } else {
        print_table(rows, row_folders(result), options.wide);
    }
    return exit_code::whole;
}
