#include "tests/unit/completeness/checked_source.h"

#include <QElapsedTimer>
#include <QtEndian>

/// Damaged and forged indexes: no file is lost, nothing is counted twice, and what was not read is said.
class tst_hostile_index : public QObject
{
    Q_OBJECT

private slots:
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
                                          ("INSERT INTO messages (ROWID, mailbox, flags, deleted, date_sent, subject) "
                                           "VALUES (2, 'one', 'two', 'three', x'00ff', 'four')")}
            << "1 2 1 0 1 0 0 0 0" << read;
        QTest::newRow("numbers at their ends")
            << newer_tables + QStringList{mailbox_row(1, "INBOX"), message_row(1, 1), message_row(-5, 1),
                                          message_row(9223372036854775807, 1),
                                          ("INSERT INTO messages (ROWID, mailbox, date_sent, date_received) VALUES "
                                           "(0, 9223372036854775807, -9223372036854775808, 9e300)")}
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

    void what_no_store_has_is_not_read_without_end_data()
    {
        QTest::addColumn<QString>("statement"); // one more, in which "n" counts up to the number
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("said");
        QTest::newRow("mailboxes") << "INSERT INTO mailboxes (url) SELECT 'imap://x/' || i FROM n" << 100'001
                                   << "mailboxes not read to the end: there are more than 100000";
        QTest::newRow("an address") << "INSERT INTO mailboxes (url) SELECT 'imap://x/' || hex(zeroblob(5000)) FROM n"
                                    << 2 << "mailboxes have addresses of more than 4096 bytes";
        QTest::newRow("text") << "INSERT INTO messages (mailbox, subject) SELECT 1, 7 FROM n" << 130'000
                              << "its messages have more text than can be listed";
    }

    void what_no_store_has_is_not_read_without_end()
    {
        QFETCH(QString, statement);
        QFETCH(int, number);
        QFETCH(QString, said);
        checked_source source;
        source.add_message("INBOX.mbox", "1.emlx");
        const QString count = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) ";
        source.add_index(newer_tables + QStringList{mailbox_row(1, "INBOX"), message_row(1, 1),
                                                    "INSERT INTO subjects VALUES (7, hex(zeroblob(4000)))",
                                                    count.arg(number) + statement});
        class counting_sink : public recording_sink
        {
        public:
            void add_index_only(const index_only_message&) override { ++told; }
            qint64 told = 0;
        } sink;
        const auto stores = check_completeness(
            {QFile::encodeName(source.folder.filePath("src")), "u", "Users/u/Library/Mail", source.folder.path()},
            sink);
        const store_completeness& store = stores.front();
        const QString lines = (store.index.schema.problems + store.notes).join('\n');
        QVERIFY2(lines.contains(said), qPrintable(lines));
        QCOMPARE(store.totals.both, 1);
        QCOMPARE(store.not_closing, QStringList());
        QCOMPARE(sink.told < store.totals.index_only, said.contains("text"));
    }

    // Each of eight pages leads 300 times to the next.
    void a_tree_of_endless_rows_is_given_up()
    {
        checked_source source;
        source.add_message("INBOX.mbox", "1.emlx");
        source.add_index(QStringList{"PRAGMA page_size = 4096", newer_tables[0]} + newer_tables.mid(1) +
                         QStringList{mailbox_row(1, "INBOX"), message_row(1, 1)});
        const QString path = source.path("V10/MailData/Envelope Index");
        constexpr quint32 page = 4096;
        constexpr qsizetype root_start = page; // the first table's root is the second page
        QByteArray content = content_of(path);
        const auto number = [](quint32 value) {
            QByteArray bytes(4, '\0');
            qToBigEndian(value, bytes.data());
            return bytes;
        };
        const quint32 leaf = quint32(content.size()) / page + 1;
        content += content.mid(root_start, page);
        for (quint32 level = 0; level < 8; ++level) {
            const QByteArray cell = number(leaf + level) + '\x01';
            QByteArray places;
            QByteArray tree = QByteArray("\x05\0\0", 3) + number(300).right(2);
            for (quint32 i = 1; i <= 300; ++i) {
                places += number(page - i * quint32(cell.size())).right(2);
            }
            tree += places.right(2) + '\0' + number(leaf + level) + places;
            tree = tree.leftJustified(page - 300 * cell.size(), '\0') + cell.repeated(300);
            content += tree;
        }
        content.replace(root_start, page, content.last(page)).replace(28, 4, number(quint32(content.size()) / page));
        write_file(path, content);
        QElapsedTimer timer;
        timer.start();
        completeness_request request{QFile::encodeName(source.folder.filePath("src")), "u", "Users/u/Library/Mail",
                                     source.folder.path()};
        request.limits.milliseconds = 300;
        const store_completeness store = check_completeness(request, source.sink).front();
        QVERIFY2(timer.elapsed() < 60'000, qPrintable(QString("%1 ms").arg(timer.elapsed())));
        QVERIFY(store.index.state == index_state::incomplete);
        QVERIFY(store.totals.closes());
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
};

QTEST_GUILESS_MAIN(tst_hostile_index)
#include "tst_hostile_index.moc"
