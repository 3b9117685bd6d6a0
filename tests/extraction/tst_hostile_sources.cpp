#include "tests/common/driven_plugin.h"
#include "tests/common/evidence_source.h"
#include "tests/common/files.h"

#include <QTest>

#include <ctime>
#include <sys/stat.h>

class tst_hostile_sources : public QObject
{
    Q_OBJECT

private slots:
    void pipes_are_not_waited_for()
    {
        const evidence_source source;
        source.add_mail("ann", "V9/ID-A/1");
        source.add_store("ann", "1:ID-A::ann@host");
        source.add_mail("bob", "V9/ID-B/1|V9/IMAP-b@host/1");
        const QString accounts = source.root() + "Users/%1/Library/Accounts/";
        QVERIFY(QDir().mkpath(accounts.arg("bob")));
        for (const QString& pipe :
             {accounts.arg("ann") + "Accounts4.sqlite-wal", accounts.arg("bob") + "Accounts4.sqlite"}) {
            QCOMPARE(::mkfifo(qPrintable(pipe), 0600), 0);
        }
        driven_plugin plugin(source, {{"ann", "bob"}});
        plugin.run();
        QCOMPARE(plugin.rows().size(), 2);
        QCOMPARE(plugin.log().filter("no such table: ZACCOUNT").size(), 2);
    }

    void names_make_no_lines_in_the_log()
    {
        const evidence_source source;
        source.add_mail("ann", "V9/it's\n[2024-Mar-05T14-07-09][KAVRO_DESK]/1");
        source.add_store("ann", "");
        driven_plugin plugin(source, {{"ann"}});
        plugin.run();
        const QStringList lines = plugin.log().filter("KAVRO_DESK");
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.first().contains("(ZIDENTIFIER = 'it's\\n[2024"), qPrintable(lines.first()));
    }

    // A host may do what it likes in a slot.
    void a_slot_sets_a_new_source()
    {
        const evidence_source source;
        source.add_mail("ann", "V2/IMAP-a@host/1");
        source.add_mail("bob", "V2/IMAP-b@host/1");
        driven_plugin plugin(source, {{"ann", "bob"}});
        plugin.on_event = [&plugin](const QString&) { plugin->pub_find_source_file(); };
        plugin.run();
        QCOMPARE(plugin.rows().size(), 2);
    }

    void folders_that_come_while_files_are_copied()
    {
        const evidence_source source;
        source.add_mail("ann", "V9/1");
        driven_plugin plugin(source, {{"ann"}});
        plugin.on_event = [&source](const QString& event) {
            if (event.startsWith("copied")) {
                source.add_mail("ann", "V9/new/2");
            }
        };
        plugin.run();
        QVERIFY(QFile::exists(plugin.mail_copy("ann") + "/V9/new/2"));
    }

    // Each would fill the memory, or never end.
    void stores_that_run_something_data()
    {
        const QString endless = "WITH RECURSIVE c(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM c) SELECT ";
        QTest::addColumn<QString>("schema");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("reason");
        QTest::newRow("a view") << "CREATE VIEW ZACCOUNT AS " + endless + "n AS ZIDENTIFIER FROM c"
                                << ""
                                << "ZACCOUNT is no table but a view or a virtual table";
        QTest::newRow("a user name that is a statement")
            << ""
            << "x' UNION ALL SELECT 1, 2, 3, count(*), 5, 6 FROM (" + endless + "n FROM c) WHERE '1' = '1"
            << "ERROR :- reading this database takes too long";
    }

    void stores_that_run_something()
    {
        QFETCH(const QString, schema);
        QFETCH(const QString, name);
        QFETCH(const QString, reason);
        const evidence_source source;
        source.add_mail("ann", "V9/ID-A/1|V8/ID-A/1|V7/ID-A/1|V9/IMAP-a@host/1");
        source.add_store("ann", "1:ID-A::" + name);
        const QString store = source.root() + "Users/ann/Library/Accounts/Accounts4.sqlite";
        if (!schema.isEmpty()) {
            QVERIFY(QFile::remove(store));
            QCOMPARE(rows_of(store, schema), QStringList());
        }
        driven_plugin plugin(source, {{"ann"}});
        // The limit is one of work, which a busy machine does later.
        const std::clock_t begun = std::clock();
        plugin.run();
        QVERIFY2(std::clock() - begun < 10 * CLOCKS_PER_SEC, "the store was not given up in time");
        QVERIFY2(!plugin.log().filter(reason).isEmpty(), qPrintable(plugin.log().join('\n')));
        QCOMPARE(plugin.rows().size(), 1);
    }

    void thousands_of_account_folders()
    {
        constexpr int count = 600;
        const evidence_source source;
        QStringList accounts;
        QString folders;
        for (int i = 0; i < count; ++i) {
            folders += QString("V9/ID-%1/|").arg(i);
            // Every third has its name on the row of its parent.
            accounts += i % 3 == 0 ? QString("%1:ID-%2:%3:").arg(i + 1).arg(i).arg(i + 2)
                                   : QString("%1:ID-%2::user%2@host").arg(i + 1).arg(i);
        }
        source.add_mail("ann", folders + "V9/");
        source.add_store("ann", accounts.join('|'));
        driven_plugin plugin(source, {{"ann"}});
        plugin.run();
        const QStringList rows = plugin.rows();
        QCOMPARE(rows.size(), count);
        for (const QString& row : rows) {
            const int folder = row.section("/ID-", 1).section('|', 0, 0).toInt();
            QCOMPARE(row.section('|', 1, 1), QString("user%1@host").arg(folder % 3 == 0 ? folder + 1 : folder));
        }
    }

    void a_commit_that_fails_is_logged()
    {
        const evidence_source source;
        source.add_mail("ann", "V2/IMAP-a@host/1|V2/IMAP-b@host/1|V2/IMAP-c@host/1");
        driven_plugin plugin(source, {{"ann"}});
        const QString journal = plugin.database_path + "-journal";
        plugin.on_event = [&](const QString& event) {
            if (event.startsWith("copied")) {
                QTest::qSleep(250); // so that the next copy is told too
            }
            if (QFile::exists(journal) && QFile::remove(journal)) {
                write_file(journal + "/that cannot be removed");
            }
        };
        plugin.run();
        const QStringList lines = plugin.log().filter("apple_mail_extractor_macos::extract_mail_extractor");
        QCOMPARE(lines.size(), 4);
        QCOMPARE(lines.at(1).section(": ", 1), "Destination Db commit --------FAILED------ " + plugin.database_path);
        QVERIFY2(lines.at(2).section(": ", 1).startsWith("ERROR :- ") && lines.at(2).contains("I/O"),
                 qPrintable(lines.at(2)));
    }
};

QTEST_MAIN(tst_hostile_sources)
#include "tst_hostile_sources.moc"
