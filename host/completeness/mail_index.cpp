#include "host/completeness/mail_index.h"

#include "host/evidence/evidence_failure.h"
#include "host/text/display_text.h"

#include <algorithm>
#include <array>
#include <limits>

namespace {

constexpr qint64 no_date = std::numeric_limits<qint32>::max();
constexpr qint64 end_of_calendar = 253'402'300'800; // the year 10000
constexpr qsizetype longest_property = 200;

// Far above what any store has; a forged index must not fill the memory.
constexpr qint64 most_mailboxes = 100'000;
constexpr qint64 most_messages = 5'000'000;
constexpr qsizetype longest_address = 4096;

/// A column that is read where there is one.
struct read_column
{
    const char* table;
    const char* name;
};
constexpr std::array read_columns{read_column{"messages", "mailbox"},
                                  read_column{"messages", "flags"},
                                  read_column{"messages", "deleted"},
                                  read_column{"messages", "subject"},
                                  read_column{"messages", "subject_prefix"},
                                  read_column{"messages", "sender"},
                                  read_column{"messages", "date_sent"},
                                  read_column{"messages", "date_received"},
                                  read_column{"messages", "global_message_id"},
                                  read_column{"mailboxes", "url"},
                                  read_column{"mailboxes", "source"},
                                  read_column{"subjects", "subject"},
                                  read_column{"addresses", "address"},
                                  read_column{"addresses", "comment"},
                                  read_column{"labels", "message_id"},
                                  read_column{"labels", "mailbox_id"},
                                  read_column{"message_global_data", "message_id_header"},
                                  read_column{"properties", "key"},
                                  read_column{"properties", "value"}};

/// A schema is recognised by what the next older one lacks; the newest comes first.
struct known_schema
{
    const char* name;
    std::array<read_column, 2> bears;
};
constexpr std::array known_schemas{
    known_schema{"macOS 15 and later", {{{"message_global_data", "message_id_header"}, {"messages", "flag_color"}}}},
    known_schema{"macOS 13 and 14", {{{"messages", "global_message_id"}, {"message_global_data", "message_id"}}}},
    known_schema{"macOS 10.13 and 10.14", {{{"messages", "deleted"}, {"labels", "mailbox_id"}}}},
    known_schema{"Mac OS X 10.7 to 10.9", {{{"messages", "document_id"}, {"subjects", "normalized_subject"}}}},
    known_schema{"Mac OS X 10.4", {{{"messages", "original_mailbox"}, {"threads", "message_id"}}}}};

/// Where a number or a word is due, a long text says nothing.
QString stored_word(const evidence_rows& rows, int column)
{
    return (rows.is_blob(column) ? QString::fromLatin1(rows.bytes(column).left(longest_property).toHex())
                                 : QString::fromUtf8(rows.bytes(column).left(longest_property)));
}

QString stored_text(const evidence_rows& rows, int column)
{
    return rows.is_blob(column) ? QString::fromLatin1(rows.bytes(column).toHex()) : rows.text(column);
}

std::optional<qint64> stored_number(const evidence_rows& rows, int column)
{
    return rows.is_number(column) ? std::optional(rows.integer(column)) : std::nullopt;
}

std::optional<qint64> stored_date(const evidence_rows& rows, int column)
{
    const auto number = stored_number(rows, column);
    return number ? date_from_index(*number) : std::nullopt;
}

} // namespace

mail_index::mail_index(const evidence_copies& copies, const evidence_limits& limits)
    : database(copies, log_use::with_log, limits)
{
    found.problems = copies.problems();
    look_at_tables();
    if (!table("messages").exists) {
        const QString reason = table("messages").refusal;
        throw evidence_failure(copies.origin() + QStringLiteral(": ") +
                               (reason.isEmpty() ? QStringLiteral("has no table of messages") : reason));
    }
    name_schema();
    read_properties();
}

void mail_index::look_at_tables()
{
    for (const char* name :
         {"messages", "mailboxes", "subjects", "addresses", "labels", "message_global_data", "properties", "threads"}) {
        tables.push_back({name, database.table(name)});
        const evidence_table& facts = tables.back().facts;
        for (const QString& problem : {facts.refusal, facts.damage}) {
            if (!problem.isEmpty()) {
                found.problems.append(problem);
                found.is_whole = false;
            }
        }
    }
    for (const read_column& wanted : read_columns) {
        if (!table(wanted.table).has(wanted.name)) {
            found.missing.append(QLatin1String(wanted.table) + QLatin1Char('.') + QLatin1String(wanted.name));
        }
    }
}

const evidence_table& mail_index::table(const char* name) const
{
    const auto fits = [name](const known_table& known) { return qstrcmp(known.name, name) == 0; };
    return std::find_if(tables.begin(), tables.end(), fits)->facts;
}

void mail_index::name_schema()
{
    const auto bears = [this](const read_column& wanted) { return table(wanted.table).has(wanted.name); };
    const auto known = std::find_if(known_schemas.begin(), known_schemas.end(), [&bears](const known_schema& schema) {
        return std::all_of(schema.bears.begin(), schema.bears.end(), bears);
    });
    found.name = known == known_schemas.end() ? QStringLiteral("not known") : QLatin1String(known->name);
}

void mail_index::read_properties()
{
    if (!table("properties").has("key") || !table("properties").has("value")) {
        return;
    }
    read("properties", [this] {
        evidence_rows rows = database.select("SELECT key, value FROM properties WHERE key IN "
                                             "('version','minor_version','UUID','WriteTransactionGeneration')");
        while (rows.next()) {
            const QByteArray key = rows.bytes(0);
            const QString value = stored_word(rows, 1);
            (key == "version"         ? found.version
             : key == "minor_version" ? found.minor_version
             : key == "UUID"          ? found.store
                                      : found.generation) = value;
        }
    });
}

QByteArray mail_index::column(const char* table_name, const char* alias, const char* name) const
{
    return table(table_name).has(name) ? QByteArray(alias) + '.' + name : QByteArrayLiteral("NULL");
}

/// Older releases have no column of its own for this, but a bit of the flags.
QByteArray mail_index::deleted_column() const
{
    return "coalesce(" + column("messages", "m", "deleted") + ", (" + column("messages", "m", "flags") +
           " >> 1) & 1, 0)";
}

void mail_index::read(const char* what, const std::function<void()>& reading)
{
    try {
        reading();
    } catch (const evidence_failure& failure) {
        found.is_whole = false;
        found.problems.append(QLatin1String(what) + QStringLiteral(" not read to the end: ") + failure.message());
    }
}

std::optional<qint64> mail_index::count_messages()
{
    std::optional<qint64> count;
    read("number of messages", [&] {
        // A count of "*" is made in one step, however long it takes, at which no limit of time is looked at.
        evidence_rows rows = database.select("SELECT count(1) FROM messages");
        if (rows.next()) {
            count = rows.integer(0);
        }
    });
    return count;
}

void mail_index::read_mailboxes(const std::function<void(const index_mailbox&)>& take)
{
    if (!table("mailboxes").exists) {
        return;
    }
    bool has_longer = false;
    read("mailboxes", [&] {
        evidence_rows rows = database.select("SELECT b.ROWID, " + column("mailboxes", "b", "url") + ", " +
                                             column("mailboxes", "b", "source") + " FROM mailboxes b");
        for (qint64 count = 0; rows.next(); ++count) {
            if (count == most_mailboxes) {
                throw evidence_failure(QStringLiteral("there are more than %1").arg(most_mailboxes));
            }
            const QByteArray address = rows.bytes(1);
            const bool is_too_long = address.size() > longest_address;
            has_longer = has_longer || is_too_long;
            take({rows.integer(0), is_too_long ? QByteArray() : address, !rows.is_null(2)});
        }
    });
    if (has_longer) {
        found.is_whole = false;
        found.problems.append(
            QStringLiteral("mailboxes have addresses of more than %1 bytes; they count as having none")
                .arg(longest_address));
    }
}

void mail_index::read_entries(const std::function<void(const index_entry&)>& take)
{
    read("messages", [&] {
        evidence_rows rows = database.select("SELECT m.ROWID, " + column("messages", "m", "mailbox") + ", " +
                                             deleted_column() + " FROM messages m");
        for (qint64 count = 0; rows.next(); ++count) {
            if (count == most_messages) {
                throw evidence_failure(QStringLiteral("there are more than %1").arg(most_messages));
            }
            take({stored_number(rows, 0).value_or(-1), stored_number(rows, 1), rows.integer(2) != 0});
        }
    });
}

void mail_index::read_labels(const std::function<void(qint64 number, qint64 label)>& take)
{
    if (!table("labels").has("message_id") || !table("labels").has("mailbox_id")) {
        return;
    }
    read("labels", [&] {
        evidence_rows rows = database.select("SELECT message_id, mailbox_id FROM labels");
        while (rows.next()) {
            if (rows.is_number(0) && rows.is_number(1)) {
                take(rows.integer(0), rows.integer(1));
            }
        }
    });
}

void mail_index::read_messages(const std::function<bool(qint64 number)>& wanted,
                               const std::function<void(const index_message&)>& take)
{
    // Joined from the left: a message without sender or subject is a message too. Without tables of their own, texts
    // may stand in the row itself.
    const auto is_joined = [this](const char* name, const char* key) {
        return table(name).exists && table("messages").has(key);
    };
    const auto joined = [&](const char* name, const QByteArray& alias, const char* key) {
        return is_joined(name, key)
                   ? " LEFT JOIN " + QByteArray(name) + ' ' + alias + " ON " + alias + ".ROWID = m." + key
                   : QByteArray();
    };
    const auto cut = [](const QByteArray& value) { return "substr(" + value + ", 1, 4000)"; };
    const auto text = [&](const char* name, const char* alias, const char* wanted_column, const char* key) {
        return cut(is_joined(name, key) ? column(name, alias, wanted_column) : QByteArrayLiteral("NULL"));
    };
    const auto text_or_own = [&](const char* name, const char* alias, const char* wanted_column, const char* key) {
        return is_joined(name, key) ? text(name, alias, wanted_column, key) : cut(column("messages", "m", key));
    };
    const QByteArrayList columns{"m.ROWID",
                                 cut(column("messages", "m", "subject_prefix")),
                                 text_or_own("subjects", "s", "subject", "subject"),
                                 text_or_own("addresses", "a", "address", "sender"),
                                 text("addresses", "a", "comment", "sender"),
                                 column("messages", "m", "date_sent"),
                                 column("messages", "m", "date_received"),
                                 column("messages", "m", "flags"),
                                 deleted_column(),
                                 text("message_global_data", "g", "message_id_header", "global_message_id")};
    const QByteArray statement = "SELECT " + columns.join(", ") + " FROM messages m" +
                                 joined("subjects", "s", "subject") + joined("addresses", "a", "sender") +
                                 joined("message_global_data", "g", "global_message_id") + " ORDER BY m.ROWID";
    read("details of messages", [&] {
        evidence_rows rows = database.select(statement);
        while (rows.next()) {
            const qint64 number = stored_number(rows, 0).value_or(-1);
            if (wanted(number)) {
                take({number, stored_text(rows, 1) + stored_text(rows, 2), stored_text(rows, 3), stored_text(rows, 4),
                      stored_date(rows, 5), stored_date(rows, 6), stored_word(rows, 5), stored_word(rows, 6),
                      stored_word(rows, 7), stored_text(rows, 9), rows.integer(8) != 0});
            }
        }
    });
}

std::optional<qint64> date_from_index(qint64 stored)
{
    return stored > 0 && stored < end_of_calendar && stored != no_date ? std::optional(stored) : std::nullopt;
}
