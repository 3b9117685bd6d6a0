#include "sample/sample_envelope_index.h"

#include "sample/sample_wal.h"

#include <QHash>

namespace {

/// What date_sent holds when a message has none.
constexpr qint64 no_date = 2'147'483'647;

/// The tables that both forms have alike, then those of each.
const QStringList common_tables{
    QStringLiteral("CREATE TABLE addresses (ROWID INTEGER PRIMARY KEY, address TEXT COLLATE NOCASE NOT NULL, "
                   "comment TEXT NOT NULL, UNIQUE(address, comment))"),
    QStringLiteral("CREATE TABLE labels (message_id INTEGER, mailbox_id INTEGER, PRIMARY KEY(message_id, mailbox_id)) "
                   "WITHOUT ROWID"),
    QStringLiteral("CREATE TABLE properties (ROWID INTEGER PRIMARY KEY, key, value, UNIQUE(key))"),
    QStringLiteral("CREATE TABLE ews_folders (ROWID INTEGER PRIMARY KEY, folder_id TEXT UNIQUE, "
                   "mailbox_id INTEGER NOT NULL UNIQUE, sync_state TEXT)")};

const QStringList older_tables{
    QStringLiteral(
        "CREATE TABLE mailboxes (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, url UNIQUE, "
        "total_count INTEGER DEFAULT 0, deleted_count INTEGER DEFAULT 0, source INTEGER, change_identifier)"),
    QStringLiteral("CREATE TABLE subjects (ROWID INTEGER PRIMARY KEY, subject COLLATE RTRIM, "
                   "normalized_subject COLLATE RTRIM)"),
    QStringLiteral("CREATE TABLE threads (ROWID INTEGER PRIMARY KEY, message_id INTEGER NOT NULL, reference TEXT, "
                   "is_originator DEFAULT 0)"),
    QStringLiteral(
        "CREATE TABLE messages (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, message_id, document_id BLOB, "
        "in_reply_to, remote_id INTEGER, sender INTEGER, subject_prefix, subject INTEGER, date_sent INTEGER, "
        "date_received INTEGER, mailbox INTEGER, flags INTEGER, read, flagged, size INTEGER, "
        "conversation_id INTEGER DEFAULT -1, snippet TEXT DEFAULT NULL, deleted INTEGER DEFAULT 0)")};

const QStringList newer_tables{
    QStringLiteral("CREATE TABLE mailboxes (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, url TEXT COLLATE BINARY NOT NULL, "
                   "total_count INTEGER NOT NULL DEFAULT 0, deleted_count INTEGER NOT NULL DEFAULT 0, source INTEGER, "
                   "UNIQUE(url) ON CONFLICT ABORT)"),
    QStringLiteral("CREATE TABLE subjects (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, "
                   "subject TEXT COLLATE RTRIM NOT NULL, UNIQUE(subject) ON CONFLICT ABORT)"),
    QStringLiteral("CREATE TABLE message_global_data (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, message_id INTEGER, "
                   "read_later_date INTEGER, send_later_date INTEGER, UNIQUE(message_id))"),
    QStringLiteral("CREATE TABLE messages (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, message_id INTEGER NOT NULL "
                   "DEFAULT 0, global_message_id INTEGER NOT NULL, remote_id INTEGER, document_id TEXT, "
                   "sender INTEGER, subject_prefix TEXT, subject INTEGER NOT NULL, summary INTEGER, date_sent INTEGER, "
                   "date_received INTEGER, mailbox INTEGER NOT NULL, flags INTEGER NOT NULL DEFAULT 0, "
                   "read INTEGER NOT NULL DEFAULT 0, flagged INTEGER NOT NULL DEFAULT 0, "
                   "deleted INTEGER NOT NULL DEFAULT 0, size INTEGER NOT NULL DEFAULT 0, "
                   "conversation_id INTEGER NOT NULL DEFAULT 0)")};

/// The distinct texts of one table with their keys.
class text_table
{
public:
    qint64 key(const QStringList& texts)
    {
        const auto known = keys.constFind(texts);
        if (known != keys.constEnd()) {
            return *known;
        }
        QVariantList row{rows.size() + 1};
        for (const QString& text : texts) {
            row.append(text.isNull() ? QStringLiteral("") : text); // these columns hold no NULL
        }
        rows.append(row);
        keys.insert(texts, rows.size());
        return rows.size();
    }

    QList<QVariantList> rows;

private:
    QHash<QStringList, qint64> keys;
};

/// The index holds texts as people read them: the one encoded word that a sample's header may have is decoded.
QString plain_text(const QString& header)
{
    const QStringList parts = header.split(u'?');
    if (parts.size() != 5) {
        return header;
    }
    const QByteArray text = parts[3].toLatin1();
    return QString::fromUtf8(parts[2] == u"B"
                                 ? QByteArray::fromBase64(text)
                                 : QByteArray::fromPercentEncoding(QByteArray(text).replace('_', ' '), '='));
}

/// Gathers the rows of one index.
class index_builder
{
public:
    explicit index_builder(const envelope_index& content)
        : index(content)
        , is_older(content.form == index_form::of_10_13)
    {
    }

    sample_database build();

private:
    void add_message(const indexed_message& message, bool in_log);
    QList<QVariantList> mailbox_rows() const;

    const envelope_index& index;
    bool is_older;
    text_table senders;
    text_table subjects;
    QList<QVariantList> messages[2]; // in the file, in the log
    QList<QVariantList> labels[2];
    QList<QVariantList> global[2];
};

void append_rows(QList<sample_statement>& statements, const QString& table, const QList<QVariantList>& rows)
{
    if (!rows.isEmpty()) {
        const QString marks = QStringLiteral(",?").repeated(rows.first().size()).mid(1);
        statements.append({QStringLiteral("INSERT INTO %1 VALUES(%2)").arg(table, marks), rows});
    }
}

void index_builder::add_message(const indexed_message& message, bool in_log)
{
    const QVariant sender = message.sender.isEmpty()
                                ? QVariant()
                                : QVariant(senders.key({message.sender, plain_text(message.sender_name)}));
    const QString reply = QStringLiteral("Re: ");
    const bool is_reply = message.subject.startsWith(reply);
    const QString text = plain_text(is_reply ? message.subject.mid(reply.size()) : message.subject);
    const QVariant prefix = is_reply ? QVariant(reply) : QVariant();
    const qint64 subject = subjects.key(is_older ? QStringList{text, text.toLower()} : QStringList{text});
    const qint64 sent = message.sent.value_or(no_date);
    const qint64 size = 700 + message.number % 4000;
    if (is_older) {
        messages[in_log].append({message.number, QStringLiteral("<%1@example.org>").arg(message.number), QVariant(),
                                 QVariant(), message.number + 40, sender, prefix, subject, sent, message.received,
                                 message.mailbox + 1, message.flags, message.flags & 1, 0, size,
                                 message.number % 997 + 1, QVariant(), int{message.deleted}});
    } else {
        // The identifier is a hash of 64 bits, so that half of them are negative.
        const qint64 hash = (message.number % 2 == 0 ? -1 : 1) * (message.number * 2'654'435'761 + 1);
        global[in_log].append({message.number + 7, hash, QVariant(), QVariant()});
        messages[in_log].append({message.number, hash, message.number + 7, message.number + 40, QVariant(), sender,
                                 prefix, subject, QVariant(), sent, message.received, message.mailbox + 1,
                                 message.flags, message.flags & 1, 0, int{message.deleted}, size,
                                 message.number % 997 + 1});
    }
    for (const int label : message.labels) {
        labels[in_log].append({message.number, label + 1});
    }
}

/// A mailbox's own count is of the messages that lie in it or bear it as a label, deleted ones included.
QList<QVariantList> index_builder::mailbox_rows() const
{
    QList<qint64> total(index.mailboxes.size(), 0);
    QList<qint64> deleted(index.mailboxes.size(), 0);
    for (const indexed_message& message : index.messages) {
        for (const int mailbox : message.labels + QList<int>{message.mailbox}) {
            ++total[mailbox];
            deleted[mailbox] += message.deleted;
        }
    }
    QList<QVariantList> rows;
    for (qsizetype i = 0; i < index.mailboxes.size(); ++i) {
        const indexed_mailbox& mailbox = index.mailboxes[i];
        rows.append(
            {i + 1, mailbox.url, total[i], deleted[i], mailbox.source < 0 ? QVariant() : QVariant(mailbox.source + 1)});
        if (is_older) {
            rows.last().append(QVariant());
        }
    }
    return rows;
}

sample_database index_builder::build()
{
    sample_database content;
    for (const QString& table : common_tables + (is_older ? older_tables : newer_tables)) {
        content.in_file.append({table, {}});
    }
    content.in_file.append({QStringLiteral("CREATE INDEX messages_mailbox_index ON messages (mailbox)"), {}});
    for (const indexed_message& message : index.messages) {
        add_message(message, index.messages.last().number - message.number < 4);
    }
    append_rows(content.in_file, QStringLiteral("mailboxes"), mailbox_rows());
    append_rows(content.in_file, QStringLiteral("addresses"), senders.rows);
    append_rows(content.in_file, QStringLiteral("subjects"), subjects.rows);
    append_rows(content.in_file, QStringLiteral("properties"),
                {{1, QStringLiteral("version"), QStringLiteral("4")},
                 {2, QStringLiteral("minor_version"), is_older ? QStringLiteral("6003") : QStringLiteral("60003")},
                 {3, QStringLiteral("UUID"), index.store},
                 {4, QStringLiteral("WriteTransactionGeneration"), QString::number(index.messages.size() * 3 + 11)}});
    for (const bool in_log : {false, true}) {
        QList<sample_statement>& statements = in_log ? content.only_in_log : content.in_file;
        append_rows(statements, QStringLiteral("message_global_data"), global[in_log]);
        append_rows(statements, QStringLiteral("messages"), messages[in_log]);
        append_rows(statements, QStringLiteral("labels"), labels[in_log]);
    }
    return content;
}

} // namespace

bool write_envelope_index(sample_writer& writer, const QString& directory, const envelope_index& index, QString& error)
{
    const QString path = directory + QStringLiteral("/Envelope Index");
    sample_random salts(writer.seed(), QStringLiteral("index/") + path);
    const auto files = make_wal_database(index_builder(index).build(), salts, error);
    if (!files) {
        return false;
    }
    writer.write_file(path, files->database);
    writer.write_file(path + QStringLiteral("-wal"), files->log);
    writer.write_file(path + QStringLiteral("-shm"), QByteArray(32'768, '\0'));
    return true;
}
