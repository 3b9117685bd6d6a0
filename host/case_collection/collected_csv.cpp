#include "host/case_collection/collected_csv.h"

#include "host/case_collection/rows.h"
#include "host/files/durable_file.h"
#include "host/text/csv.h"

#include <QSqlQuery>
#include <QSqlRecord>

namespace {

QByteArray field_text(const QVariant& value)
{
    if (value.isNull()) {
        return {};
    }
    if (value.userType() == QMetaType::QByteArray) {
        return "0x" + value.toByteArray().toHex();
    }
    // Only a text can be a formula; a number may well begin with "-".
    const QByteArray text = value.toString().toUtf8();
    return value.userType() == QMetaType::QString ? spreadsheet_text(text) : text;
}

void write_table(const collected_database& database, const QString& table, const QString& path)
{
    durable_file file(path);
    QString name = table;
    QSqlQuery rows = database.query(QStringLiteral("SELECT * FROM \"%1\" ORDER BY source_index, rowid")
                                        .arg(name.replace(QLatin1Char('"'), QStringLiteral("\"\""))));
    const QSqlRecord columns = rows.record();
    QByteArrayList fields;
    for (int column = 0; column < columns.count(); ++column) {
        fields.append(columns.fieldName(column).toUtf8());
    }
    file.write(csv_line(fields));
    while (next_row(rows)) {
        fields.clear();
        for (int column = 0; column < columns.count(); ++column) {
            fields.append(field_text(rows.value(column)));
        }
        file.write(csv_line(fields));
    }
    file.commit();
}

/// A table's name as a file's: names from a database are from outside.
QString file_name_of(const QString& table)
{
    QString name;
    for (const QChar letter : table) {
        name += letter.isLetterOrNumber() || letter == QLatin1Char('_') ? letter : QLatin1Char('-');
    }
    return name + QStringLiteral(".csv");
}

} // namespace

void write_collected_csv(const collected_database& database, const QString& directory)
{
    for (const QString& table : database.tables()) {
        write_table(database, table, directory + QLatin1Char('/') + file_name_of(table));
    }
}
