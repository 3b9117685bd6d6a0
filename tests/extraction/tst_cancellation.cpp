#include "tests/common/driven_plugin.h"
#include "tests/common/evidence_source.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QTest>

namespace {

/// Longer than the pause after which the next written row is signalled.
constexpr int longer_than_row_pause_ms = 1010;

int files_below(const QString& directory)
{
    int files = 0;
    for (QDirIterator entries(directory, QDir::Files, QDirIterator::Subdirectories); entries.hasNext(); ++files) {
        entries.next();
    }
    return files;
}

} // namespace

class tst_cancellation : public QObject
{
    Q_OBJECT

private slots:
    void before_the_search()
    {
        const evidence_source source;
        source.add_mail("ann", "V9/IMAP-a@host/1");
        for (const QStringList& users : {QStringList("ann"), QStringList()}) {
            driven_plugin plugin(source, {users});
            plugin.prepare();
            plugin->pub_cancel_extraction();
            plugin->pub_find_source_file();
            QCOMPARE(plugin.log().last().section("find_source_file: ", 1), users.isEmpty() ? "ends" : "starts");
            plugin->pub_set_essentials();
            plugin->pub_extract_artifacts();
            QVERIFY2(plugin.rows().isEmpty() && plugin.copied.isEmpty(), "the search found something");
        }
    }

    void at_the_first_signal()
    {
        const evidence_source source;
        source.add_mail("ann", "V9/IMAP-a@host/1");
        driven_plugin plugin(source, {{"ann"}});
        plugin.on_event = [&plugin](const QString&) { plugin->pub_cancel_extraction(); };
        plugin.run();
        QCOMPARE(plugin.log().last(), "apple_mail_extractor::pub_extract_artifacts: START");
        QCOMPARE(plugin.events, QStringList("records 0"));
        QVERIFY(plugin.rows().isEmpty() && plugin.copied.isEmpty() && !QDir(plugin.mail_copy("ann")).exists());
    }

    void during_the_long_copy()
    {
        // Without a Mail version that is looked for, the driver has no further poll.
        for (const QString& version : QStringList{"V9", "V2"}) {
            const evidence_source source;
            source.add_mail("ann", QString("%1/a/1|%1/a/2|%1/a/b/3|%1/a/b/4|V1/5|V1/6").arg(version));
            source.add_mail("bob", version + "/7");
            driven_plugin plugin(source, {{"ann", "bob"}});
            plugin.on_event = [&plugin](const QString& event) {
                if (event.startsWith("copied")) {
                    plugin->pub_cancel_extraction();
                }
            };
            plugin.run();
            QCOMPARE(plugin.copied, QStringList("copied 1 1"));
            QCOMPARE(files_below(plugin.mail_copy("ann")), 1);
            QVERIFY(!QDir(plugin.mail_copy("bob")).exists() && plugin.rows().isEmpty());
            QCOMPARE(plugin.log().last(2), QStringList({"apple_mail_extractor_macos::extract_plugin_artifacts: starts",
                                                        "apple_mail_extractor::pub_extract_artifacts: END"}));
            QCOMPARE(plugin.events, QStringList({"records 0", "records 0", "records 0"}));
        }
    }

    // The slow slot makes the first row due to be signalled; what is left to do then must not be done.
    void at_the_first_row_data()
    {
        QTest::addColumn<QString>("mail");
        QTest::addColumn<QString>("accounts");
        QTest::addColumn<QString>("steps"); // what the log holds behind the driver's start
        const auto row = [](const char* left, const char* mail, const char* accounts, const QString& steps) {
            QTest::newRow(left) << mail << accounts << steps;
        };
        const QString driver_done = "extract_mail_extractor: starts, extract_plugin_artifacts: ends, ";
        row("an account and a version", "V9/ID-A/1|V9/ID-B/1|V8/ID-A/1", "1:ID-A::a@host|2:ID-B::b@host",
            "extract_account: START, ");
        row("the Mail folders", "V9/ID-A/1|V2/IMAP-a@host/", "1:ID-A::a@host",
            "extract_account: START, extract_account: END, " + driver_done);
        row("a Mail folder", "V2/IMAP-a@host/1|V2/POP-b@host/1", "", driver_done);
    }

    void at_the_first_row()
    {
        QFETCH(const QString, mail);
        QFETCH(const QString, accounts);
        QFETCH(const QString, steps);
        const evidence_source source;
        source.add_mail("ann", mail);
        if (!accounts.isEmpty()) {
            source.add_store("ann", accounts);
        }
        driven_plugin plugin(source, {{"ann"}});
        plugin.on_event = [&plugin](const QString& event) {
            if (event.startsWith("copied") && plugin.copied.size() == 1) {
                QTest::qSleep(longer_than_row_pause_ms);
            } else if (event == "records 1") {
                plugin->pub_cancel_extraction();
            }
        };
        plugin.run();
        QCOMPARE(plugin.rows().size(), 1);
        const QString log = plugin.log().join(", ").remove("apple_mail_extractor_macos::");
        QCOMPARE(log.section("extract_plugin_artifacts: starts, ", 1),
                 steps + "apple_mail_extractor::pub_extract_artifacts: END");
        // A driver that gets to its end counts the table, cancelled or not.
        QCOMPARE(plugin.events.join(", "), QString("records 0, records 1, %1records 1, records 1")
                                               .arg(steps.contains("artifacts: ends") ? "records 1, tabs 1, " : ""));
    }

    void copy_progress_keeps_its_pace()
    {
        const evidence_source source;
        constexpr int files = 600;
        for (int i = 0; i < files; ++i) {
            source.add_file(QString("Users/ann/Library/Mail/V9/%1/%2").arg(i % 7).arg(i), QByteArray(i, 'x'));
        }
        driven_plugin plugin(source, {.users = {"ann"}, .tables = {}});
        const QString total = QString("copied %1 %2").arg(files).arg(files * (files - 1) / 2);
        QElapsedTimer since_last;
        QStringList too_early;
        plugin.on_event = [&](const QString& event) {
            if (!event.startsWith("copied") || event == total) {
                return;
            }
            if (since_last.isValid() && since_last.elapsed() < 199) {
                too_early.append(event);
            }
            since_last.start();
            if (plugin.copied.size() == 1) {
                QTest::qSleep(250);
            }
        };
        plugin.run();
        QCOMPARE(too_early, QStringList());
        QVERIFY(plugin.copied.at(0).startsWith("copied 1 ") && plugin.copied.at(1).startsWith("copied 2 "));
        QCOMPARE(plugin.copied.last(), total);
    }
};

QTEST_MAIN(tst_cancellation)
#include "tst_cancellation.moc"
