#include "host/mail_database/completeness_tables.h"

#include "host/text/csv.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <QDateTime>

#include <utility>

namespace {

constexpr qsizetype bytes_at_once = 65'536;

/// A table by its name and its columns; each column's name comes first.
struct table_declaration
{
    const char* name;
    QByteArrayList columns;
};

const QByteArrayList where{"user TEXT NOT NULL", "mail_version TEXT NOT NULL", "account TEXT NOT NULL",
                           "mailbox TEXT NOT NULL"};

QByteArrayList figure_columns()
{
    QByteArrayList columns;
    for (const named_figure& figure : figure_names) {
        columns.append(QByteArray(figure.name) + " INTEGER NOT NULL");
    }
    return columns;
}

const table_declaration stores_table{"completeness_stores",
                                     {"id INTEGER PRIMARY KEY", "user TEXT NOT NULL", "mail_version TEXT NOT NULL",
                                      "index_path TEXT NOT NULL", "index_state TEXT NOT NULL", "index_problem TEXT",
                                      "schema TEXT", "schema_version TEXT", "minor_version TEXT",
                                      "store_identifier TEXT", "generation TEXT", "rows INTEGER NOT NULL",
                                      "rows_stated INTEGER", "pairs INTEGER NOT NULL", "repeated INTEGER NOT NULL",
                                      "dangling_labels INTEGER NOT NULL", "closes INTEGER NOT NULL"}};
const table_declaration mailboxes_table{
    "completeness_mailboxes",
    QByteArrayList{"store INTEGER NOT NULL"} + where +
        QByteArrayList{"label INTEGER NOT NULL", "has_folder INTEGER NOT NULL", "in_index INTEGER NOT NULL"} +
        figure_columns()};
const table_declaration accounts_table{"completeness_accounts",
                                       {"store INTEGER NOT NULL", "account TEXT NOT NULL",
                                        "has_folder INTEGER NOT NULL", "in_index INTEGER NOT NULL", "setting TEXT"}};
const table_declaration notes_table{"completeness_notes",
                                    {"store INTEGER NOT NULL", "kind TEXT NOT NULL", "text TEXT NOT NULL"}};
const table_declaration index_only_table{
    "index_only",
    where + QByteArrayList{"number INTEGER", "subject TEXT", "sender TEXT", "sender_name TEXT", "date_sent TEXT",
                           "date_received TEXT", "deleted INTEGER NOT NULL", "setting TEXT", "other_file TEXT",
                           "message_id TEXT", "flags TEXT", "date_sent_stored TEXT", "date_received_stored TEXT"}};
const table_declaration disk_only_table{
    "disk_only",
    where + QByteArrayList{"path TEXT NOT NULL", "number INTEGER", "partial INTEGER NOT NULL", "other_mailbox TEXT"}};
const table_declaration unreadable_table{
    "unreadable_messages", where + QByteArrayList{"path TEXT NOT NULL", "number INTEGER", "partial INTEGER NOT NULL",
                                                  "indexed INTEGER NOT NULL", "problem TEXT NOT NULL"}};
const table_declaration absent_table{
    "absent_attachments",
    where + QByteArrayList{"path TEXT NOT NULL", "part TEXT NOT NULL", "announced_bytes INTEGER"}};

QString text_of(const QByteArray& declarations)
{
    return QString::fromLatin1(declarations);
}

prepared_insertion make_table(mail_database_writer& writer, const table_declaration& table)
{
    const QByteArray name = table.name;
    writer.execute(text_of("CREATE TABLE " + name + '(' + table.columns.join(", ") + ')'));
    if (table.columns.contains(where.first()) && table.columns.contains(where.last())) {
        writer.execute(text_of("CREATE INDEX " + name + "_by_mailbox ON " + name + "(user, account, mailbox)"));
    }
    return writer.prepare(
        text_of("INSERT INTO " + name + " VALUES(?" + QByteArray(",?").repeated(table.columns.size() - 1) + ')'));
}

QByteArrayList titles_of(const table_declaration& table)
{
    QByteArrayList titles;
    for (const QByteArray& column : table.columns) {
        titles.append(column.split(' ').first());
    }
    return titles;
}

QVariant or_null(const QString& text)
{
    return text.isEmpty() ? QVariant() : QVariant(text);
}

/// A text that is unknown is empty in a column that must hold one.
QByteArray name_text(const QByteArray& name)
{
    return name.isEmpty() ? QByteArray("") : display_utf8(name);
}

QVariant or_null(const QByteArray& name)
{
    return name.isEmpty() ? QVariant() : QVariant(display_utf8(name));
}

QVariant date_text(const std::optional<qint64>& seconds)
{
    return seconds ? QVariant(QDateTime::fromSecsSinceEpoch(*seconds, Qt::UTC).toString(Qt::ISODate)) : QVariant();
}

QVariant number_or_null(qint64 number)
{
    return number < 0 ? QVariant() : QVariant(number);
}

QByteArray text_of(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::QByteArray:
        return value.toByteArray(); // a name, which is shown in the database as it is here
    case QMetaType::QString:
        return display_text(value.toString()).toUtf8();
    default:
        return value.isNull() ? QByteArray() : QByteArray::number(value.toLongLong());
    }
}

/// Appends each value as a field, with a comma behind it.
void append_fields(QByteArray& line, const QVariantList& values)
{
    for (const QVariant& value : values) {
        // Subjects come from strangers: none may be run by a spreadsheet, nor break the line.
        append_csv_field(line, spreadsheet_text(text_of(value)));
        line += ',';
    }
}

} // namespace

const char* index_state_word(index_state state)
{
    switch (state) {
    case index_state::read:
        return "read";
    case index_state::incomplete:
        return "incomplete";
    case index_state::refused:
        return "refused";
    default:
        return "absent";
    }
}

completeness_table_writer::csv_list::csv_list(const QString& path, const QByteArrayList& titles) : file(path)
{
    file.write(csv_line(titles));
}

void completeness_table_writer::csv_list::add(const mailbox_place& place, const QVariantList& values)
{
    lines += place.beginning_of_line;
    append_fields(lines, values);
    lines.chop(1);
    lines += "\r\n";
    if (lines.size() >= bytes_at_once) {
        file.write(std::exchange(lines, {}));
    }
}

void completeness_table_writer::csv_list::put_in_place()
{
    file.write(lines);
    // Tells of every write that failed.
    file.commit();
}

completeness_table_writer::completeness_table_writer(mail_database_writer& target, const completeness_lists& lists,
                                                     const QHash<QByteArray, QString>& known_settings)
    : writer(target)
    , settings(known_settings)
    , into{make_table(target, stores_table),       make_table(target, mailboxes_table),
           make_table(target, accounts_table),     make_table(target, notes_table),
           {make_table(target, index_only_table)}, {make_table(target, disk_only_table)},
           {make_table(target, unreadable_table)}, {make_table(target, absent_table)}}
    , index_only_list(lists.index_only, titles_of(index_only_table))
    , disk_only_list(lists.disk_only, titles_of(disk_only_table))
{
    writer.execute(
        QStringLiteral("CREATE INDEX completeness_accounts_by_account ON completeness_accounts(store, account)"));
}

const completeness_table_writer::mailbox_place& completeness_table_writer::place_of(const mailbox_identity& mailbox)
{
    if (last_place.values.isEmpty() || mailbox != last_place.mailbox) {
        const QVariantList values{name_text(mailbox.user), name_text(mailbox.mail_version), name_text(mailbox.account),
                                  name_text(mailbox.mailbox)};
        last_place = {last_place.number + 1, mailbox, values, {}};
        append_fields(last_place.beginning_of_line, values);
    }
    return last_place;
}

void completeness_table_writer::insert(message_insertion& statement, const mailbox_place& place,
                                       const QVariantList& values)
{
    if (statement.place != place.number) {
        writer.keep_values(statement.insertion, place.values);
        statement.place = place.number;
    }
    writer.insert(statement.insertion, values);
}

void completeness_table_writer::add_index_only(const index_only_message& told)
{
    const index_message& message = told.message;
    const mailbox_place& place = place_of(told.mailbox);
    const QVariantList values{number_or_null(message.number),
                              or_null(message.subject),
                              or_null(message.sender),
                              or_null(message.sender_name),
                              date_text(message.sent),
                              date_text(message.received),
                              int{message.is_deleted},
                              or_null(settings.value(told.mailbox.account.toUpper())),
                              or_null(told.other_file),
                              or_null(message.message_id),
                              or_null(message.flags),
                              or_null(message.sent_as_stored),
                              or_null(message.received_as_stored)};
    insert(into.index_only, place, values);
    index_only_list.add(place, values);
}

void completeness_table_writer::add_disk_message(const disk_message& told)
{
    const mailbox_place& place = place_of(told.mailbox);
    const QVariant path = display_utf8(told.path);
    const QVariant number = number_or_null(told.number);
    if (told.problem.isEmpty()) {
        const QVariantList values{path, number, int{told.is_partial}, or_null(told.other_row)};
        insert(into.disk_only, place, values);
        disk_only_list.add(place, values);
    } else {
        insert(into.unreadable, place, {path, number, int{told.is_partial}, int{told.is_indexed}, told.problem});
    }
}

void completeness_table_writer::add_absent_attachment(const mailbox_identity& mailbox, const QByteArray& path,
                                                      const emptied_part& part)
{
    insert(into.absent, place_of(mailbox), {display_utf8(path), part.number, number_or_null(part.length)});
}

void completeness_table_writer::add_mailbox(const store_completeness& store, const mailbox_line& line)
{
    QVariantList values{stores};
    values += place_of({store.user, store.mail_version, line.account, line.mailbox}).values;
    values += QVariantList{int{line.is_label}, int{line.has_folder}, int{line.is_in_index}};
    for (const named_figure& figure : figure_names) {
        values.append(line.figures.*figure.value);
    }
    writer.insert(into.mailbox, values);
}

void completeness_table_writer::add_notes(const char* kind, const QStringList& texts)
{
    for (const QString& text : texts) {
        writer.insert(into.note, {stores, QLatin1String(kind), text});
    }
}

void completeness_table_writer::add_store(const store_completeness& store)
{
    ++stores;
    const index_record& index = store.index;
    const index_schema& schema = index.schema;
    writer.insert(into.store, {stores, name_text(store.user), name_text(store.mail_version), name_text(index.path),
                               QLatin1String(index_state_word(index.state)), or_null(index.problem),
                               or_null(schema.name), or_null(schema.version), or_null(schema.minor_version),
                               or_null(schema.store), or_null(schema.generation), index.rows,
                               index.rows_stated ? QVariant(*index.rows_stated) : QVariant(), store.pairs,
                               store.repeated, store.dangling_labels, int{store.not_closing.isEmpty()}});
    for (const mailbox_line& line : store.mailboxes) {
        add_mailbox(store, line);
    }
    for (const account_witness& account : store.accounts) {
        writer.insert(into.account, {stores, name_text(account.account), int{account.has_folder},
                                     int{account.has_address}, or_null(account.setting)});
    }
    add_notes("not looked at", store.notes);
    add_notes("link", store.links);
    add_notes("index", schema.problems);
    add_notes("column not there", schema.missing);
    add_notes("does not close", store.not_closing);
}

void completeness_table_writer::put_lists_in_place()
{
    index_only_list.put_in_place();
    disk_only_list.put_in_place();
}
