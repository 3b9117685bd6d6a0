#include "tests/unit/completeness/checked_source.h"

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

    void links_that_stay_in_the_source_are_no_fault()
    {
        checked_source source;
        source.add_message("INBOX.mbox", "1.emlx");
        const QString account = source.path("V10/" + identifier + '/');
        QVERIFY(QFile::link("V10", source.path("V9")));
        QVERIFY(QFile::link("INBOX.mbox", account + "Same.mbox"));
        QVERIFY(QFile::link("nowhere", account + "INBOX.mbox/gone"));
        QVERIFY(QFile::link("/etc", account + "Out.mbox"));
        QVERIFY(QFile::link("round", account + "round"));
        const auto stores = source.check();
        QCOMPARE(stores.size(), 2);
        QCOMPARE(stores[0].links, QStringList("Users/u/Library/Mail/V9: is a link to V10, not followed"));
        QCOMPARE(stores[0].notes, QStringList());
        QCOMPARE(stores[1].links.size(), 3);
        QCOMPARE(stores[1].notes.size(), 1);
        QVERIFY2(stores[1].notes[0].endsWith("is a link to /etc, not followed; it leads out of the source"),
                 qPrintable(stores[1].notes[0]));
    }

    void a_cancel_does_not_wait_for_a_directory()
    {
        checked_source source;
        for (int number = 1; number <= 50; ++number) {
            source.add_message("INBOX.mbox", QString::number(number) + ".emlx");
        }
        source.add_index(newer_tables + QStringList{mailbox_row(1, "INBOX"), message_row(1, 1)});
        completeness_request request{QFile::encodeName(source.folder.filePath("src")), "u", "Users/u/Library/Mail",
                                     source.folder.path()};
        int asked = 0;
        request.limits.cancelled = [&asked] { return ++asked > 20; };
        const store_completeness store = check_completeness(request, source.sink).front();
        QVERIFY2(store.totals.on_disk < 20, qPrintable(text_of(store.totals)));
        QCOMPARE(store.index.problem, QString("cancelled"));
        QCOMPARE(store.not_closing, QStringList());
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

    /// More attachments are absent than a search remembers that nobody listens to yet.
    void what_is_begun_early_finds_the_same()
    {
        checked_source source;
        for (int number = 1; number <= 1500; ++number) {
            source.add_message("INBOX.mbox", QString::number(number) + ".partial.emlx", with_two_parts_gone);
        }
        const store_completeness alone = source.check_one();
        QCOMPARE(source.sink.absent.size(), 3000);

        const completeness_request request{QFile::encodeName(source.folder.filePath("src")), "u",
                                           "Users/u/Library/Mail", source.folder.path()};
        recording_sink sink;
        completeness_check check(request);
        check.begin();
        const auto stores = check.complete({}, sink);
        QCOMPARE(stores.size(), std::size_t(1));
        QCOMPARE(text_of(stores.front().totals), text_of(alone.totals));
        QCOMPARE(sink.absent, source.sink.absent);
        QCOMPARE(sink.on_disk, source.sink.on_disk);

        // Ends where nobody asks for what was found.
        completeness_check(request).begin();
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
