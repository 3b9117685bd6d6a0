#pragma once

#include "host/completeness/completeness.h"
#include "host/files/durable_file.h"
#include "host/mail_database/database_writer.h"

/// Where the lists of messages that are not in both places are written beside the database, as CSV.
struct completeness_lists
{
    QString index_only;
    QString disk_only;
};

/// Adds the tables of the completeness check, message by message, and writes two of them as CSV as well;
/// docs/results.md describes them. Everything here throws a failure that names the path and the reason.
class completeness_table_writer : public completeness_sink
{
public:
    /// `settings` are those of the check.
    completeness_table_writer(mail_database_writer& target, const completeness_lists& lists,
                              const QHash<QByteArray, QString>& settings);

    void add_index_only(const index_only_message& message) override;
    void add_disk_message(const disk_message& message) override;
    void add_absent_attachment(const mailbox_identity& mailbox, const QByteArray& path,
                               const emptied_part& part) override;
    /// Adds what was found of one store on the whole.
    void add_store(const store_completeness& store);
    /// Puts the lists in their places; to be called before the database is put in its own.
    void put_lists_in_place();

private:
    /// What the tables say of a mailbox.
    struct mailbox_place
    {
        qint64 number = 0; ///< counts the places that messages were in, one after the other
        mailbox_identity mailbox;
        QVariantList values;
        QByteArray beginning_of_line; ///< of a list's, with the comma behind it
    };

    /// A statement whose rows begin with a place.
    struct message_insertion
    {
        prepared_insertion insertion;
        qint64 place = 0; ///< number of the one that it has
    };

    /// A list beside the database.
    class csv_list
    {
    public:
        csv_list(const QString& path, const QByteArrayList& titles);
        /// `values` are those after the place's.
        void add(const mailbox_place& place, const QVariantList& values);
        void put_in_place();

    private:
        durable_file file;
        QByteArray lines; ///< not yet written
    };

    /// One statement for each table.
    struct statements
    {
        prepared_insertion store;
        prepared_insertion mailbox;
        prepared_insertion account;
        prepared_insertion note;
        message_insertion index_only;
        message_insertion disk_only;
        message_insertion unreadable;
        message_insertion absent;
    };

    const mailbox_place& place_of(const mailbox_identity& mailbox);
    /// `values` are those after the place's.
    void insert(message_insertion& into, const mailbox_place& place, const QVariantList& values);
    void add_mailbox(const store_completeness& store, const mailbox_line& line);
    void add_notes(const char* kind, const QStringList& texts);

    mail_database_writer& writer;
    QHash<QByteArray, QString> settings;
    statements into;
    csv_list index_only_list;
    csv_list disk_only_list;
    qint64 stores = 0;
    mailbox_place last_place; ///< mostly the next message lies there as well
};

/// The words for what became of an index: "read", "incomplete", "refused", "absent".
const char* index_state_word(index_state state);
