#include "host/mail_database/completeness_command.h"
#include "host/mail_database/completeness_tables.h"
#include "host/mail_database/completeness_text.h"
#include "host/mail_database/own_database.h"
#include "host/terminal/exit_codes.h"
#include "tests/common/files.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QHash<QByteArray, QString> settings{{"A-1", "only headers"}};

/// A store with one ordinary mailbox and one label; `surplus` makes its sums wrong.
store_completeness store_with(qint64 surplus)
{
    store_completeness store;
    store.user = "u";
    store.mail_version = "V10";
    store.index.path = "Users/u/Library/Mail/V10/MailData/Envelope Index";
    store.index.state = index_state::read;
    store.index.schema.name = "macOS 15 and later";
    store.index.schema.version = "4";
    store.index.rows = 3;
    const completeness_figures figures{4 + surplus, 3, 2, 1, 0, 1, 1, 5, 1};
    store.mailboxes.push_back({"a-1", "All Mail", false, true, true, figures});
    store.mailboxes.push_back({"a-1", "two\nlines", true, false, true, figures});
    store.accounts.push_back({"a-1", true, true, "only headers"});
    store.accounts.push_back({"b", false, true, {}});
    if (surplus != 0) {
        store.not_closing.append("one too many");
    }
    return store;
}

} // namespace

/// What mail.sqlite, the lists beside it and the command say of a check.
class tst_completeness_tables : public QObject
{
    Q_OBJECT

private:
    void write(const QString& result, qint64 surplus)
    {
        const result_paths paths(result);
        QVERIFY(QDir().mkpath(paths.products()));
        mail_database_writer writer(paths.path(product::mail_database));
        completeness_table_writer tables(
            writer, {paths.path(product::index_only_list), paths.path(product::disk_only_list)}, settings);
        const mailbox_identity mailbox{"u", "V10", "a-1", "All Mail"};
        index_message message;
        message.number = 7;
        message.subject = "=cmd|' /C calc'!A0\r\nsecond";
        message.sender = "a@example.org";
        message.received = 1420070400; // 2015 began
        message.sent_as_stored = "2147483647";
        tables.add_index_only({mailbox, message, "Users/u/x.emlx"});
        tables.add_disk_message({mailbox, "Users/u/8.emlx", 8, false, false, {}, {}});
        tables.add_disk_message({mailbox, "Users/u/\xff.emlx", -1, true, true, "is empty", {}});
        tables.add_absent_attachment(mailbox, "Users/u/9.partial.emlx", {"2.1", -1});
        tables.add_store(store_with(surplus));
        tables.put_lists_in_place();
        writer.put_in_place();
    }

private slots:
    void lists_are_complete_and_run_nothing()
    {
        const QTemporaryDir folder;
        write(folder.path(), 0);
        const result_paths paths(folder.path());
        const QList<QByteArray> lines = content_of(paths.path(product::index_only_list)).split('\n');
        QCOMPARE(lines.size(), 3);
        QVERIFY2(lines[1].startsWith("u,V10,a-1,All Mail,7,'=cmd|' /C calc'!A0\\r\\nsecond,a@example.org,,,"
                                     "2015-01-01T00:00:00Z,0,only headers,Users/u/x.emlx,"),
                 lines[1].constData());
        QCOMPARE(content_of(paths.path(product::disk_only_list)),
                 QByteArray("user,mail_version,account,mailbox,path,number,partial,other_mailbox\r\n"
                            "u,V10,a-1,All Mail,Users/u/8.emlx,8,0,\r\n"));
        const own_database database(paths);
        for (const auto& [query, answer] :
             {std::pair("SELECT subject FROM index_only", "=cmd|' /C calc'!A0\r\nsecond"),
              {"SELECT date_sent IS NULL AND date_sent_stored = '2147483647' FROM index_only", "1"},
              {"SELECT path || indexed || problem FROM unreadable_messages", "Users/u/\\xff.emlx1is empty"},
              {"SELECT part FROM absent_attachments WHERE announced_bytes IS NULL", "2.1"}}) {
            checked_rows rows = database.query(query);
            QVERIFY(rows.next());
            QCOMPARE(rows.value(0).toString(), QString(answer));
        }
    }

    void the_certificate_is_read_back_data()
    {
        QTest::addColumn<qint64>("surplus");
        QTest::newRow("closing") << qint64(0);
        QTest::newRow("not closing") << qint64(1);
    }

    void the_certificate_is_read_back()
    {
        QFETCH(qint64, surplus);
        const QTemporaryDir folder;
        write(folder.path(), surplus);
        const completeness_certificate certificate = read_completeness(result_paths(folder.path()));
        const QJsonObject json = QJsonDocument::fromJson(completeness_json(certificate)).object();
        const QJsonObject totals = json["totals"].toObject();
        const QList<std::pair<const char*, qint64>> expected{
            {"on_disk", 4 + surplus}, {"indexed", 3},    {"both", 2},    {"disk_only", 1},
            {"index_only", 0},        {"unreadable", 1}, {"deleted", 1}, {"attachments_absent", 5}};
        for (const auto& [name, value] : expected) {
            QCOMPARE(totals[QLatin1String(name)].toInteger(-1), value);
        }
        const QJsonArray mailboxes = json["mailboxes"].toArray();
        QCOMPARE(mailboxes.size(), 2);
        const QJsonObject label = mailboxes[1].toObject();
        QCOMPARE(label["mailbox"].toString(), "two\\nlines");
        QCOMPARE(label["label"].toBool(), true);
        QCOMPARE(label["setting"].toString(), "only headers");
        QCOMPARE(label["unreadable_indexed"].toInteger(), 1);
        QCOMPARE(json["closes"].toBool(), surplus == 0);

        const QStringList remarks = completeness_remarks(certificate);
        QCOMPARE(remarks.first().contains("DO NOT CLOSE"), surplus != 0);
        QCOMPARE(remarks.last(), "u V10: b: in the index, but there is no folder");
        QVERIFY(completeness_table(certificate, 200).join(u'\n').contains("All Mail"));
        const QByteArrayList csv = completeness_csv(certificate, false);
        QCOMPARE(csv.size(), 4);
        QVERIFY2(csv[1].startsWith("u,V10,a-1,All Mail,no,read,only headers,"), csv[1].constData());
        QCOMPARE(completeness_command({folder.path(), "csv", false}),
                 surplus == 0 ? exit_code::whole : exit_code::with_failures);
    }
};

QTEST_GUILESS_MAIN(tst_completeness_tables)
#include "tst_completeness_tables.moc"
