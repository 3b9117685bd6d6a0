#pragma once

#include "host/completeness/completeness.h"
#include "tests/common/files.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

inline const QString identifier = QStringLiteral("0A1B2C3D-0000-4000-8000-00000000000F");

inline QByteArray emlx(const QByteArray& message)
{
    return QByteArray::number(message.size()).leftJustified(10) + '\n' + message +
           "<?xml version=\"1.0\"?>\n<plist/>\n";
}

inline const QByteArray whole = emlx("From: a@example.org\n\nhello\n");
inline const QByteArray with_two_parts_gone =
    emlx("Content-Type: multipart/mixed; boundary=b\n\n--b\nX-Apple-Content-Length: 5\n\n\n--b\n"
         "X-Apple-Content-Length: 5\n\n\n--b--\n");

/// Keeps what is told, one line each.
class recording_sink : public completeness_sink
{
public:
    void add_index_only(const index_only_message& told) override
    {
        index_only.append(QStringLiteral("%1 %2 %3 | %4 <%5> %6 %7")
                              .arg(QString::fromUtf8(told.mailbox.mailbox))
                              .arg(told.message.number)
                              .arg(told.message.subject, told.message.sender_name, told.message.sender)
                              .arg(told.message.sent.value_or(-1))
                              .arg(told.message.received.value_or(-1)) +
                          (told.other_file.isEmpty() ? QString() : QStringLiteral(" moved")));
    }
    void add_disk_message(const disk_message& told) override
    {
        on_disk.append(QString::fromUtf8(told.path.mid(told.path.lastIndexOf('/') + 1)) + ' ' +
                       (told.problem.isEmpty() ? QString::fromUtf8(told.other_row) : told.problem));
    }
    void add_absent_attachment(const mailbox_identity&, const QByteArray& path, const emptied_part& part) override
    {
        absent.append(QString::fromUtf8(path.mid(path.lastIndexOf('/') + 1) + ' ' + part.number));
    }

    QStringList index_only;
    QStringList on_disk;
    QStringList absent;
};

/// A source with one user's Mail directory, and what the check finds in it.
class checked_source
{
public:
    QString path(const QString& below = {}) const { return folder.filePath("src/Users/u/Library/Mail/") + below; }
    void add(const QString& below, const QByteArray& content = whole) const { write_file(path(below), content); }
    void add_message(const QString& mailbox, const QString& name, const QByteArray& content = whole) const
    {
        add(QStringLiteral("V10/%1/%2/S/Data/Messages/%3").arg(identifier, mailbox, name), content);
    }

    void add_index(const QStringList& statements, const QString& below = "V10/MailData/Envelope Index") const
    {
        write_file(path(below + "-x"));
        {
            QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", below);
            database.setDatabaseName(path(below));
            QVERIFY(database.open());
            for (const QString& statement : statements) {
                QSqlQuery query(database);
                QVERIFY2(query.exec(statement), qPrintable(statement + ": " + query.lastError().text()));
            }
        }
        QSqlDatabase::removeDatabase(below);
    }

    std::vector<store_completeness> check()
    {
        sink = {};
        return check_completeness(
            {QFile::encodeName(folder.filePath("src")), "u", "Users/u/Library/Mail", folder.path()}, sink);
    }

    store_completeness check_one()
    {
        const auto stores = check();
        return stores.size() == 1 ? stores.front() : store_completeness();
    }

    QTemporaryDir folder;
    recording_sink sink;
};

/// The figures in their order, without the attachments: "6 6 3 1 2 2 1 1".
inline QString text_of(const completeness_figures& figures)
{
    QStringList texts;
    for (const named_figure& figure : figure_names) {
        texts.append(QString::number(figures.*figure.value));
    }
    return texts.join(' ');
}

inline QString line_of(const store_completeness& store, const QByteArray& mailbox, bool is_label = false)
{
    for (const mailbox_line& line : store.mailboxes) {
        if (line.mailbox == mailbox && line.is_label == is_label) {
            return text_of(line.figures);
        }
    }
    return "no such mailbox";
}

inline const QStringList newer_tables{
    ("CREATE TABLE messages (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, global_message_id INTEGER, subject_prefix TEXT, "
     "subject INTEGER, sender INTEGER, date_sent INTEGER, date_received INTEGER, mailbox INTEGER, flags INTEGER, "
     "deleted INTEGER)"),
    "CREATE TABLE mailboxes (ROWID INTEGER PRIMARY KEY, url TEXT, source INTEGER)",
    "CREATE TABLE subjects (ROWID INTEGER PRIMARY KEY, subject TEXT)",
    "CREATE TABLE addresses (ROWID INTEGER PRIMARY KEY, address TEXT, comment TEXT)",
    "CREATE TABLE labels (message_id INTEGER, mailbox_id INTEGER, PRIMARY KEY(message_id, mailbox_id)) WITHOUT ROWID",
    "CREATE TABLE message_global_data (ROWID INTEGER PRIMARY KEY, message_id INTEGER)"};

inline QString mailbox_row(int key, const QString& path, const QString& source = "NULL")
{
    return QStringLiteral("INSERT INTO mailboxes (ROWID, url%3) VALUES (%1, 'imap://%2'%4)")
        .arg(key)
        .arg(identifier + '/' + path, source == "none" ? "" : ", source", source == "none" ? "" : ", " + source);
}

inline QString message_row(qint64 number, int mailbox, int deleted = 0)
{
    return QStringLiteral("INSERT INTO messages (ROWID, mailbox, deleted) VALUES (%1, %2, %3)")
        .arg(number)
        .arg(mailbox)
        .arg(deleted);
}
