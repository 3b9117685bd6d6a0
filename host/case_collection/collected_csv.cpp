#include "host/case_collection/collected_csv.h"

#include "host/files/all_cores.h"
#include "host/text/csv.h"
#include "host/text/failure.h"

#include <QFile>
#include <QLocale>
#include <QSet>

#include <sqlite3.h>

#include <exception>
#include <memory>
#include <vector>

namespace {

constexpr qsizetype most_letters_of_name = 60;
constexpr qsizetype bytes_of_piece = 262'144;

struct closer
{
    void operator()(sqlite3* database) const { sqlite3_close(database); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

/// The rows of a statement, by SQLite's own interface: it gives texts as they are stored, and a case has millions.
class stored_rows
{
public:
    stored_rows(sqlite3* read, const QString& statement) : database(read)
    {
        sqlite3_stmt* prepared = nullptr;
        require(sqlite3_prepare_v2(database, statement.toUtf8().constData(), -1, &prepared, nullptr) == SQLITE_OK);
        row.reset(prepared);
    }

    bool next() const
    {
        const int code = sqlite3_step(row.get());
        require(code == SQLITE_ROW || code == SQLITE_DONE);
        return code == SQLITE_ROW;
    }

    QByteArray titles() const
    {
        QByteArrayList names;
        for (int column = 0; column < sqlite3_column_count(row.get()); ++column) {
            names.append(sqlite3_column_name(row.get(), column));
        }
        return csv_line(names);
    }

    void append_to(QByteArray& text) const
    {
        for (int column = 0; column < sqlite3_column_count(row.get()); ++column) {
            append_field(text, column);
            text += ',';
        }
        text.chop(1);
        text += "\r\n";
    }

private:
    void append_field(QByteArray& line, int column) const
    {
        const int type = sqlite3_column_type(row.get(), column);
        if (type == SQLITE_FLOAT) {
            line += QByteArray::number(sqlite3_column_double(row.get(), column), 'g', QLocale::FloatingPointShortest);
            return;
        }
        const auto* bytes = static_cast<const char*>(sqlite3_column_blob(row.get(), column));
        const auto text = QByteArray::fromRawData(bytes, sqlite3_column_bytes(row.get(), column));
        if (type == SQLITE_BLOB) {
            line += "0x" + text.toHex();
        } else {
            // Only a text can be a formula; a number may well begin with "-".
            append_csv_field(line, type == SQLITE_TEXT ? spreadsheet_text(valid_utf8(text)) : text);
        }
    }

    /// What is no UTF-8 gets the mark for that.
    static QByteArray valid_utf8(const QByteArray& text)
    {
        return text.isValidUtf8() ? text : QString::fromUtf8(text).toUtf8();
    }

    void require(bool condition) const
    {
        if (!condition) {
            refuse(QStringLiteral("%1: %2").arg(QString::fromUtf8(sqlite3_db_filename(database, "main")),
                                                QString::fromUtf8(sqlite3_errmsg(database))));
        }
    }

    sqlite3* database;
    std::unique_ptr<sqlite3_stmt, closer> row;
};

std::unique_ptr<sqlite3, closer> open_for_reading(const QString& path)
{
    sqlite3* opened = nullptr;
    const int code = sqlite3_open_v2(QFile::encodeName(path).constData(), &opened,
                                     SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr);
    std::unique_ptr<sqlite3, closer> database(opened);
    if (code != SQLITE_OK) {
        refuse(QStringLiteral("cannot read %1: %2").arg(path, QString::fromUtf8(sqlite3_errstr(code))));
    }
    return database;
}

void write_table(const QString& database, QString table, const QString& path)
{
    const auto reader = open_for_reading(database);
    QFile file(path);
    const auto require_written = [&file](bool is_done) {
        if (!is_done) {
            refuse(QStringLiteral("cannot write %1: %2").arg(file.fileName(), file.errorString()));
        }
    };
    // Nothing waits for the disk here: what is in the end copied into the case is.
    require_written(file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered));
    const auto write_out = [&](QByteArray& text) {
        require_written(file.write(text) == text.size());
        text.resize(0);
    };
    const stored_rows rows(reader.get(), QStringLiteral("SELECT * FROM \"%1\" ORDER BY source_index, rowid")
                                             .arg(table.replace(QLatin1Char('"'), QStringLiteral("\"\""))));
    QByteArray text = rows.titles();
    while (rows.next()) {
        rows.append_to(text);
        if (text.size() >= bytes_of_piece) {
            write_out(text);
        }
    }
    write_out(text);
}

/// The names of tables as those of files, no two alike: names from a database are from outside.
QStringList file_names_of(const QStringList& tables)
{
    QSet<QString> taken;
    QStringList names;
    for (const QString& table : tables) {
        QString name = table.left(most_letters_of_name);
        for (QChar& letter : name) {
            letter = letter.isLetterOrNumber() || letter == QLatin1Char('_') ? letter : QLatin1Char('-');
        }
        if (taken.contains(name.toCaseFolded())) {
            name += QStringLiteral("-%1").arg(names.size());
        }
        taken.insert(name.toCaseFolded());
        names.append(name + QStringLiteral(".csv"));
    }
    return names;
}

} // namespace

void write_collected_csv(const collected_database& database, const QString& directory)
{
    const QStringList tables = database.tables();
    const QStringList files = file_names_of(tables);
    std::vector<std::exception_ptr> thrown(std::size_t(tables.size()));
    for_each_on_all_cores(
        thrown.size(),
        [&](std::size_t number) {
            const auto at = qsizetype(number);
            try {
                write_table(database.path(), tables[at], directory + QLatin1Char('/') + files[at]);
            } catch (...) {
                thrown[number] = std::current_exception();
            }
        },
        1);
    for (const std::exception_ptr& one : thrown) {
        if (one) {
            std::rethrow_exception(one);
        }
    }
}
