#include "sample/sample_envelope_index.h"

#include "sample/sample_wal.h"

#include <QHash>

namespace {

/// The distinct texts of one column with their keys.
class text_table
{
public:
    qint64 key(const QString& text)
    {
        const auto known = keys.constFind(text);
        if (known != keys.constEnd()) {
            return *known;
        }
        rows.append({rows.size() + 1, text});
        keys.insert(text, rows.size());
        return rows.size();
    }

    QList<QVariantList> rows;

private:
    QHash<QString, qint64> keys;
};

QList<sample_statement> schema()
{
    QList<sample_statement> statements;
    for (const QString& text :
         {QStringLiteral("CREATE TABLE mailboxes (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, url TEXT NOT NULL UNIQUE)"),
          QStringLiteral("CREATE TABLE addresses (ROWID INTEGER PRIMARY KEY, address TEXT, comment TEXT)"),
          QStringLiteral("CREATE TABLE subjects (ROWID INTEGER PRIMARY KEY, subject TEXT)"),
          QStringLiteral(
              "CREATE TABLE messages (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, remote_id INTEGER, sender INTEGER, "
              "subject INTEGER, date_sent INTEGER, date_received INTEGER, mailbox INTEGER NOT NULL, "
              "flags INTEGER, read INTEGER, deleted INTEGER)"),
          QStringLiteral("CREATE INDEX messages_mailbox_index ON messages (mailbox)")}) {
        statements.append({text, {}});
    }
    return statements;
}

void append_rows(QList<sample_statement>& statements, const QString& table, const QString& marks,
                 const QList<QVariantList>& rows)
{
    if (!rows.isEmpty()) {
        statements.append({QStringLiteral("INSERT INTO %1 VALUES(%2)").arg(table, marks), rows});
    }
}

} // namespace

bool write_envelope_index(sample_writer& writer, const QString& directory, const QStringList& mailbox_urls,
                          const QList<indexed_message>& messages, QString& error)
{
    text_table senders;
    text_table subjects;
    QList<QVariantList> settled;
    QList<QVariantList> newest;
    for (const indexed_message& message : messages) {
        QList<QVariantList>& rows = messages.last().number - message.number < 4 ? newest : settled;
        rows.append({message.number, message.number + 40, senders.key(message.sender), subjects.key(message.subject),
                     message.received - 2, message.received, message.mailbox + 1, message.flags, message.flags & 1, 0});
    }
    QList<QVariantList> mailboxes;
    for (const QString& url : mailbox_urls) {
        mailboxes.append({mailboxes.size() + 1, url});
    }
    for (QVariantList& row : senders.rows) {
        row.append(QString());
    }

    const QString marks = QStringLiteral("?,?,?,?,?,?,?,?,?,?");
    sample_database content{schema(), {}};
    append_rows(content.in_file, QStringLiteral("mailboxes"), QStringLiteral("?,?"), mailboxes);
    append_rows(content.in_file, QStringLiteral("addresses"), QStringLiteral("?,?,?"), senders.rows);
    append_rows(content.in_file, QStringLiteral("subjects"), QStringLiteral("?,?"), subjects.rows);
    append_rows(content.in_file, QStringLiteral("messages"), marks, settled);
    append_rows(content.only_in_log, QStringLiteral("messages"), marks, newest);

    const QString path = directory + QStringLiteral("/Envelope Index");
    sample_random salts(writer.seed(), QStringLiteral("index/") + path);
    const auto files = make_wal_database(content, salts, error);
    if (!files) {
        return false;
    }
    writer.write_file(path, files->database);
    writer.write_file(path + QStringLiteral("-wal"), files->log);
    writer.write_file(path + QStringLiteral("-shm"), QByteArray(32'768, '\0'));
    return true;
}
