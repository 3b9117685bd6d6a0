#include "host/completeness/completeness.h"
#include "tests/common/files.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString identifier = QStringLiteral("0A1B2C3D-0000-4000-8000-00000000000F");

QByteArray emlx(const QByteArray& message)
{
    return QByteArray::number(message.size()).leftJustified(10) + '\n' + message +
           "<?xml version=\"1.0\"?>\n<plist/>\n";
}

const QByteArray whole = emlx("From: a@example.org\n\nhello\n");
const QByteArray with_two_parts_gone =
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
QString text_of(const completeness_figures& figures)
{
    QStringList texts;
    for (const named_figure& figure : figure_names) {
        texts.append(QString::number(figures.*figure.value));
    }
    return texts.join(' ');
}

QString line_of(const store_completeness& store, const QByteArray& mailbox, bool is_label = false)
{
    for (const mailbox_line& line : store.mailboxes) {
        if (line.mailbox == mailbox && line.is_label == is_label) {
            return text_of(line.figures);
        }
    }
    return "no such mailbox";
}

const QStringList newer_tables{
    "CREATE TABLE messages (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, global_message_id INTEGER, subject_prefix TEXT, "
    "subject INTEGER, sender INTEGER, date_sent INTEGER, date_received INTEGER, mailbox INTEGER, flags INTEGER, "
    "deleted INTEGER)",
    "CREATE TABLE mailboxes (ROWID INTEGER PRIMARY KEY, url TEXT, source INTEGER)",
    "CREATE TABLE subjects (ROWID INTEGER PRIMARY KEY, subject TEXT)",
    "CREATE TABLE addresses (ROWID INTEGER PRIMARY KEY, address TEXT, comment TEXT)",
    "CREATE TABLE labels (message_id INTEGER, mailbox_id INTEGER, PRIMARY KEY(message_id, mailbox_id)) WITHOUT ROWID",
    "CREATE TABLE message_global_data (ROWID INTEGER PRIMARY KEY, message_id INTEGER)"};

QString mailbox_row(int key, const QString& path, const QString& source = "NULL")
{
    return QStringLiteral("INSERT INTO mailboxes (ROWID, url%3) VALUES (%1, 'imap://%2'%4)")
        .arg(key)
        .arg(identifier + '/' + path, source == "none" ? "" : ", source", source == "none" ? "" : ", " + source);
}

QString message_row(qint64 number, int mailbox, int deleted = 0)
{
    return QStringLiteral("INSERT INTO messages (ROWID, mailbox, deleted) VALUES (%1, %2, %3)")
        .arg(number)
        .arg(mailbox)
        .arg(deleted);
}

} // namespace

/// Files against rows, with answers that are known.
class tst_completeness : public QObject
{
    Q_OBJECT

private slots:
    void every_schema_gives_the_same_answer_data()
    {
        QTest::addColumn<QStringList>("tables");
        QTest::addColumn<QString>("deleted"); // how the row of message 7 is marked
        QTest::addColumn<QString>("schema");
        const QString texts = "CREATE TABLE %1 (ROWID INTEGER PRIMARY KEY, %2)";
        const QStringList common{texts.arg("addresses", "address COLLATE NOCASE, comment"),
                                 texts.arg("properties", "key, value")};
        const QStringList old_mailboxes{texts.arg("mailboxes", "url UNIQUE"), texts.arg("subjects", "subject")};
        const QString message =
            "CREATE TABLE messages (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, sender, subject_prefix, "
            "subject INTEGER, date_sent INTEGER, date_received INTEGER, mailbox INTEGER, "
            "flags INTEGER, ";
        QTest::newRow("10.4") << common + old_mailboxes +
                                     QStringList{message + "original_mailbox, encoding, pad)",
                                                 texts.arg("threads", "message_id")}
                              << "flags = 2"
                              << "Mac OS X 10.4";
        QTest::newRow("10.7") << common + QStringList{message + "document_id, conversation_id DEFAULT -1)",
                                                      texts.arg("mailboxes", "url, source"),
                                                      texts.arg("subjects", "subject, normalized_subject")}
                              << "flags = 2 + 1"
                              << "Mac OS X 10.7 to 10.9";
        QTest::newRow("10.13") << common + QStringList{message + "deleted INTEGER DEFAULT 0)",
                                                       texts.arg("mailboxes", "url, source"),
                                                       texts.arg("subjects", "subject, normalized_subject"),
                                                       newer_tables[4]}
                               << "deleted = 1"
                               << "macOS 10.13 and 10.14";
        QTest::newRow("13") << common + newer_tables.mid(0, 3) + newer_tables.mid(4) << "deleted = 1"
                            << "macOS 13 and 14";
        QTest::newRow("15") << common + QStringList{message + "deleted, flag_color, global_message_id)",
                                                    newer_tables[1], newer_tables[2], newer_tables[4],
                                                    texts.arg("message_global_data", "message_id, message_id_header")}
                            << "deleted = 1"
                            << "macOS 15 and later";
        QTest::newRow("unheard of") << common + old_mailboxes + QStringList{message + "novelty)"} << "flags = 2"
                                    << "not known";
    }

    void every_schema_gives_the_same_answer()
    {
        QFETCH(QStringList, tables);
        QFETCH(QString, deleted);
        QFETCH(QString, schema);
        checked_source source;
        for (const char* name : {"5.emlx", "7.emlx", "8.emlx"}) {
            source.add_message("INBOX.mbox", name);
        }
        source.add_message("Archive.mbox/2019.mbox", "999.partial.emlx", with_two_parts_gone);
        source.add_message("Archive.mbox/2019.mbox", "../Attachments/999/2/a name", "content");
        source.add_message("Archive.mbox/2019.mbox", "11.emlx", "no message");
        source.add_message("Archive.mbox/2019.mbox", "12.emlx", "");
        QStringList rows{mailbox_row(1, "INBOX", "none"),
                         mailbox_row(2, "Archive/2019", "none"),
                         mailbox_row(3, "Gone", "none"),
                         "INSERT INTO subjects (ROWID, subject) VALUES (4, 'Minutes')",
                         "INSERT INTO addresses (ROWID, address, comment) VALUES (6, 'b@example.org', 'Ben')",
                         "INSERT INTO properties (key, value) VALUES ('version', '4'), ('minor_version', 84003)"};
        for (const auto& [number, mailbox] : {std::pair(5, 1), {6, 1}, {7, 1}, {999, 2}, {11, 2}, {9, 3}}) {
            rows.append(QStringLiteral("INSERT INTO messages (ROWID, mailbox, flags, subject) VALUES (%1, %2, 1, 4)")
                            .arg(number)
                            .arg(mailbox));
        }
        // 1420070400 is 2015 began in UTC, counted from 1970.
        rows.append("UPDATE messages SET subject_prefix = 'Re: ', sender = 6, date_sent = 2147483647, "
                    "date_received = 1420070400 WHERE ROWID = 6");
        rows.append("UPDATE messages SET " + deleted + " WHERE ROWID = 7");
        source.add_index(tables + rows);

        const store_completeness store = source.check_one();
        QCOMPARE(store.index.schema.name, schema);
        QCOMPARE(store.index.schema.version + '/' + store.index.schema.minor_version, "4/84003");
        QCOMPARE(store.index.schema.problems, QStringList());
        QVERIFY(store.index.state == index_state::read);
        QCOMPARE(text_of(store.totals), "6 6 3 1 2 2 1 1 1");
        QCOMPARE(line_of(store, "INBOX"), "3 3 2 1 1 0 0 0 1");
        QCOMPARE(line_of(store, "Archive/2019"), "3 2 1 0 0 2 1 1 0");
        QCOMPARE(line_of(store, "Gone"), "0 1 0 0 1 0 0 0 0");
        QCOMPARE(store.not_closing, QStringList());
        QCOMPARE(source.sink.index_only, QStringList({"INBOX 6 Re: Minutes | Ben <b@example.org> -1 1420070400",
                                                      "Gone 9 Minutes |  <> -1 -1"}));
        source.sink.on_disk.sort();
        QCOMPARE(source.sink.on_disk,
                 QStringList({"11.emlx does not begin with a byte count", "12.emlx is empty", "8.emlx "}));
        QCOMPARE(source.sink.absent, QStringList("999.partial.emlx 1"));
    }

    void labels_count_beside_the_totals()
    {
        checked_source source;
        for (const char* name : {"1.emlx", "2.emlx", "3.emlx"}) {
            source.add_message("[Gmail].mbox/All Mail.mbox", name);
        }
        source.add("V10/" + identifier + "/INBOX.mbox/Info.plist");
        // 2 is a label of the only mailbox with messages; 3 holds one of its own beside those that it labels; 4 is
        // empty.
        source.add_index(
            newer_tables +
            QStringList{mailbox_row(1, "%5BGmail%5D/All%20Mail"), mailbox_row(2, "INBOX", "1"),
                        mailbox_row(3, "Travel", "1"), mailbox_row(4, "Empty", "1"), message_row(1, 1),
                        message_row(2, 1, 1), message_row(4, 1), message_row(5, 3),
                        "INSERT INTO labels VALUES (1,2), (2,2), (4,2), (1,3), (5,3), (1,1), (77,2), (1,78)"});
        const store_completeness store = source.check_one();
        QCOMPARE(text_of(store.totals), "3 4 2 1 2 0 0 0 1");
        QCOMPARE(line_of(store, "[Gmail]/All Mail"), "3 3 2 1 1 0 0 0 1");
        QCOMPARE(line_of(store, "INBOX"), "0 0 0 0 0 0 0 0 0");
        QCOMPARE(line_of(store, "INBOX", true), "2 3 2 0 1 0 0 0 1");
        QCOMPARE(line_of(store, "Travel"), "0 1 0 0 1 0 0 0 0");
        QCOMPARE(line_of(store, "Travel", true), "1 1 1 0 0 0 0 0 0");
        QCOMPARE(line_of(store, "Empty", true), "0 0 0 0 0 0 0 0 0");
        QCOMPARE(line_of(store, "Empty"), "no such mailbox");
        QCOMPARE(store.dangling_labels, 2);
        QCOMPARE(store.not_closing, QStringList());
    }

    void a_message_is_one_however_many_files_bear_its_number()
    {
        checked_source source;
        source.add_message("INBOX.mbox", "1.emlx");
        source.add_message("INBOX.mbox", "1.partial.emlx", with_two_parts_gone);
        source.add_message("INBOX.mbox", "2.emlx", "damaged");
        source.add_message("INBOX.mbox", "2.partial.emlx");
        source.add_message("INBOX.mbox", "../5/Messages/3.emlx"); // out of place, and again in it
        source.add_message("INBOX.mbox", "3.emlx", "damaged");
        source.add_message("Other.mbox", "4.emlx"); // its row says INBOX
        source.add_message("Other.mbox", "name.emlx");
        source.add_message("Other.mbox", "007.emlx");
        source.add_message("Other.mbox", "._7.emlx");
        source.add_message("Other.mbox", "../Attachments/7/2/attached.emlx");
        QVERIFY(QFile::link("4.emlx", source.path("V10/" + identifier + "/Other.mbox/S/Data/Messages/8.emlx")));
        source.add_index(newer_tables + QStringList{mailbox_row(1, "INBOX"), mailbox_row(2, "Other"), message_row(1, 1),
                                                    message_row(2, 1), message_row(3, 1), message_row(4, 1),
                                                    message_row(7, 2)});
        const store_completeness store = source.check_one();
        QCOMPARE(line_of(store, "INBOX"), "4 4 2 1 1 1 1 0 0");
        QCOMPARE(line_of(store, "Other"), "4 1 0 3 1 1 0 0 0");
        QCOMPARE(store.pairs, 2);
        QCOMPARE(store.repeated, 1);
        QCOMPARE(store.not_closing, QStringList());
        source.sink.on_disk.sort();
        QCOMPARE(source.sink.on_disk, QStringList({"007.emlx ", "3.emlx ", "3.emlx does not begin with a byte count",
                                                   "4.emlx INBOX", "8.emlx is no file: symbolic link", "name.emlx "}));
        QCOMPARE(source.sink.index_only.first(), "INBOX 4  |  <> -1 -1 moved");
    }

    void stores_are_told_apart()
    {
        checked_source source;
        source.add("V10/" + identifier + "/INBOX.mbox/S/Data/Messages/1.emlx");
        source.add("V9/" + identifier + "/INBOX.mbox/Messages/1.emlx");
        source.add("IMAP-u@example.org/INBOX.imapmbox/Messages/1.emlx");
        source.add("Mailboxes/Old/Deep.mbox/Messages/2.emlx");
        source.add_index(newer_tables +
                         QStringList{mailbox_row(1, "INBOX"), message_row(1, 1),
                                     "INSERT INTO mailboxes (ROWID, url) VALUES (2, 'ews://removed/Inbox')"});
        source.add_index({"CREATE TABLE messages (ROWID INTEGER PRIMARY KEY, mailbox INTEGER)",
                          "CREATE TABLE mailboxes (ROWID INTEGER PRIMARY KEY, url)",
                          "INSERT INTO mailboxes VALUES (1, 'imap://u@example.org/INBOX'), (2, 'local:///Old/Deep')",
                          "INSERT INTO messages VALUES (1, 1), (2, 2)"},
                         "Envelope Index");
        const auto stores = source.check();
        QCOMPARE(stores.size(), 3);
        QCOMPARE(stores[0].mail_version, QByteArray("V9"));
        QVERIFY(stores[0].index.state == index_state::absent);
        QCOMPARE(text_of(stores[0].totals), "1 0 0 1 0 0 0 0 0");
        QCOMPARE(text_of(stores[1].totals), "1 1 1 0 0 0 0 0 0");
        QCOMPARE(stores[2].mail_version, QByteArray());
        QCOMPARE(text_of(stores[2].totals), "2 2 2 0 0 0 0 0 0");
        QStringList witnesses;
        for (const account_witness& account : stores[1].accounts) {
            witnesses.append(QString::fromUtf8(account.account) + (account.has_folder ? " folder" : "") +
                             (account.has_address ? " address" : ""));
        }
        QCOMPARE(witnesses, QStringList({identifier + " folder address", "removed address"}));
    }

    void damaged_and_hostile_indexes_lose_no_file_data()
    {
        QTest::addColumn<QStringList>("statements");
        QTest::addColumn<QString>("totals"); // with one file, 1.emlx in INBOX
        QTest::addColumn<int>("state");
        const int read = int(index_state::read);
        const int refused = int(index_state::refused);
        const QString not_compared = "1 0 0 1 0 0 0 0 0";
        QTest::newRow("no tables") << QStringList("CREATE TABLE x (y)") << not_compared << refused;
        QTest::newRow("a view") << QStringList{"CREATE TABLE t (a)",
                                               "CREATE VIEW messages AS SELECT a AS mailbox FROM t"}
                                << not_compared << refused;
        QTest::newRow("a view of the mailboxes")
            << QStringList{newer_tables[0], "CREATE VIEW mailboxes AS SELECT 1 AS url", message_row(1, 1)}
            << "1 1 0 1 1 0 0 0 0" << int(index_state::incomplete);
        QTest::newRow("text for numbers")
            << newer_tables + QStringList{mailbox_row(1, "INBOX"), message_row(1, 1),
                                          "INSERT INTO messages (ROWID, mailbox, flags, deleted, date_sent, subject) "
                                          "VALUES (2, 'one', 'two', 'three', x'00ff', 'four')"}
            << "1 2 1 0 1 0 0 0 0" << read;
        QTest::newRow("numbers at their ends")
            << newer_tables + QStringList{mailbox_row(1, "INBOX"), message_row(1, 1), message_row(-5, 1),
                                          message_row(9223372036854775807, 1),
                                          "INSERT INTO messages (ROWID, mailbox, date_sent, date_received) VALUES "
                                          "(0, 9223372036854775807, -9223372036854775808, 9e300)"}
            << "1 4 1 0 3 0 0 0 0" << read;
        QTest::newRow("the same mailbox twice")
            << newer_tables + QStringList{mailbox_row(1, "INBOX"), mailbox_row(2, "INBOX"), message_row(1, 2)}
            << "1 1 1 0 0 0 0 0 0" << read;
        QTest::newRow("no numbers")
            << QStringList{"CREATE TABLE messages (ROWID TEXT PRIMARY KEY, mailbox) WITHOUT ROWID",
                           "INSERT INTO messages VALUES ('1', 1), ('x', 1)", newer_tables[1], mailbox_row(1, "INBOX")}
            << "1 2 0 1 2 0 0 0 0" << read;
    }

    void damaged_and_hostile_indexes_lose_no_file()
    {
        QFETCH(QStringList, statements);
        QFETCH(QString, totals);
        QFETCH(int, state);
        checked_source source;
        source.add_message("INBOX.mbox", "1.emlx");
        source.add_index(statements);
        const store_completeness store = source.check_one();
        QCOMPARE(text_of(store.totals), totals);
        QCOMPARE(int(store.index.state), state);
        QCOMPARE(source.sink.index_only.size(), store.totals.index_only);
        QCOMPARE(store.not_closing, QStringList());
    }

    void a_cut_index_is_said_to_be_incomplete()
    {
        checked_source source;
        source.add_message("INBOX.mbox", "1.emlx");
        QStringList rows = newer_tables + QStringList{mailbox_row(1, "INBOX")};
        rows.append("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 20000) "
                    "INSERT INTO messages (ROWID, mailbox) SELECT i, 1 FROM n");
        source.add_index(rows);
        QFile index(source.path("V10/MailData/Envelope Index"));
        QVERIFY(index.resize(index.size() / 2));
        const store_completeness store = source.check_one();
        QVERIFY(store.index.state == index_state::incomplete || store.index.state == index_state::refused);
        QCOMPARE(store.totals.on_disk, 1);
        QVERIFY(store.totals.closes());
        QCOMPARE(source.sink.index_only.size(), store.totals.index_only);

        write_file(index.fileName(), "this is no database");
        QVERIFY(source.check_one().index.state == index_state::refused);
        completeness_request request{QFile::encodeName(source.folder.filePath("src")), "u", "Users/u/Library/Mail",
                                     source.folder.path()};
        request.limits.largest_file = 10;
        QVERIFY2(check_completeness(request, source.sink).front().index.problem.contains("larger than 10 bytes"), "");
    }

    void dates_are_seconds_since_1970_data()
    {
        QTest::addColumn<qint64>("stored");
        QTest::addColumn<bool>("is_date");
        const auto row = [](qint64 stored, bool is_date) {
            QTest::newRow(QByteArray::number(stored).constData()) << stored << is_date;
        };
        row(1677098044, true);
        row(253402300799, true);
        row(253402300800, false);
        row(2147483647, false);
        row(0, false);
        row(-1, false);
    }

    void dates_are_seconds_since_1970()
    {
        QFETCH(qint64, stored);
        QFETCH(bool, is_date);
        QCOMPARE(date_from_index(stored), is_date ? std::optional(stored) : std::nullopt);
    }
};

QTEST_GUILESS_MAIN(tst_completeness)
#include "tst_completeness.moc"
