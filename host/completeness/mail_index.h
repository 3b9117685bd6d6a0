#pragma once

#include "host/evidence/evidence_database.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

/// What an index says of itself.
struct index_schema
{
    QString name;          ///< the system releases whose columns it has; "not known" where no known ones fit
    QString version;       ///< as its properties tell; empty where they do not
    QString minor_version; ///< the same
    QString store;         ///< identifier of the store whose numbering this is; the same
    QString generation;    ///< number of its last change; the same
    QStringList missing;   ///< columns that are read where they are, and are not there ("labels.message_id")
    QStringList problems;  ///< what a person must know of the reading, a line each
    bool is_whole = true;  ///< false when some of it is damaged or could not be read
};

/// A mailbox as the index lists it.
struct index_mailbox
{
    qint64 key;
    QByteArray address;
    bool is_label; ///< its messages belong to another mailbox
};

/// A message as the index places it.
struct index_entry
{
    qint64 number;                 ///< -1 when the row has none that is a number
    std::optional<qint64> mailbox; ///< key of its mailbox; nothing when the row has none
    bool is_deleted;
};

/// A message as the index tells of it. Dates are seconds since 1970; nothing for one that no calendar has, or that
/// stands for "none".
struct index_message
{
    qint64 number = -1;
    QString subject;
    QString sender; ///< address
    QString sender_name;
    std::optional<qint64> sent;
    std::optional<qint64> received;
    QString sent_as_stored;
    QString received_as_stored;
    QString flags; ///< as stored
    QString message_id;
    bool is_deleted = false;
};

/// Mail's index of messages, read from a copy in whatever schema it has: a column that is not there has no values. What
/// ends the reading of a table is noted in schema().problems, and what was read before it stays good.
class mail_index
{
public:
    /// Opens the copy; throws an evidence_failure when it is no database or has no table of messages.
    mail_index(const evidence_copies& copies, const evidence_limits& limits);

    const index_schema& schema() const { return found; }
    /// Returns how many messages the database counts itself; nothing when it cannot.
    std::optional<qint64> count_messages();
    /// Ends where there are more mailboxes than any store has; an address that is longer than any is left out.
    void read_mailboxes(const std::function<void(const index_mailbox&)>& take);
    /// Ends where there are more messages than any store has.
    void read_entries(const std::function<void(const index_entry&)>& take);
    /// Calls `take` with a message's number and the key of a label it bears; the same pair may come twice.
    void read_labels(const std::function<void(qint64 number, qint64 label)>& take);
    /// Calls `take` with every message, by ascending numbers unless the table is damaged; texts are cut after some
    /// thousand characters. `wanted` says whether there is anything to tell of a number.
    void read_messages(const std::function<bool(qint64 number)>& wanted,
                       const std::function<void(const index_message&)>& take);

private:
    struct known_table
    {
        const char* name;
        evidence_table facts;
    };

    const evidence_table& table(const char* name) const;
    void look_at_tables();
    void name_schema();
    void read_properties();
    /// Returns "alias.column", or NULL in SQL where there is no such column.
    QByteArray column(const char* table_name, const char* alias, const char* name) const;
    QByteArray deleted_column() const;
    void read(const char* what, const std::function<void()>& reading);

    evidence_database database;
    std::vector<known_table> tables;
    index_schema found;
};

/// Returns seconds since 1970 when a stored date is one: a number, within the years 1 to 9999 after 1970, and not the
/// greatest 32-bit number, which stands for "none".
std::optional<qint64> date_from_index(qint64 stored);
