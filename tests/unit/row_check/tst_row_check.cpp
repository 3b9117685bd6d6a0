#include "host/accounts/dossier.h"
#include "host/row_check/row_check.h"
#include "host/source/copy_forecast.h"
#include "sample/sample_source.h"
#include "tests/common/driven_plugin.h"
#include "tests/common/evidence_source.h"
#include "tests/common/files.h"

#include <QTest>

namespace {

/// What the program finds in the table of accounts that the plug-in filled.
QStringList checked(const evidence_source& source, bool as_suite = false)
{
    const QByteArray root = QFile::encodeName(source.root());
    const QList<source_user> users = list_source_users(root).users;
    dossier_request dossier{root, {}, QDir::tempPath()};
    for (const source_user& user : users) {
        dossier.users.push_back(QFile::encodeName(user.name));
    }
    const copy_forecast forecast = forecast_copies(root, mail_directories_of(root, dossier.users));
    const source_snapshot seen(root, dossier.users, {});
    const account_dossier read = read_dossier(dossier);
    return problems_of_rows({root, users, as_suite, seen, read.stores, forecast.files_of_accounts},
                            result_paths(source.result()));
}

/// Runs the plug-in as the program does, an object for each user.
void extract(const evidence_source& source)
{
    for (const source_user& user : list_source_users(QFile::encodeName(source.root())).users) {
        driven_plugin plugin(
            source, {.users = {user.name}, .additional_mail_versions = user.newer_mail_versions, .bulk_copying = true});
        plugin.run();
    }
}

QString database_of(const evidence_source& source)
{
    return result_paths(source.result()).database();
}

const QString first = "6F9619FF-8B86-D011-B42D-00CF4FC964FF";
const QString second = "0C3E0B53-7B55-4E4B-9E0F-6A1C1D1E1F20";

} // namespace

class tst_row_check : public QObject
{
    Q_OBJECT

private slots:
    void an_ordinary_source_raises_no_alarm_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed = 1; seed <= 6; ++seed) {
            QTest::addRow("seed %u", seed) << seed;
        }
    }

    void an_ordinary_source_raises_no_alarm()
    {
        QFETCH(quint32, seed);
        const evidence_source source;
        QString error;
        QDir().rmdir(source.root() + "Users");
        QVERIFY2(write_sample_source({.root = source.root(), .seed = seed, .users = 6}, error), qPrintable(error));
        extract(source);
        QCOMPARE(checked(source), QStringList());
        QVERIFY(rows_of(database_of(source), "SELECT count(*) FROM accounts") != QStringList("0"));
    }

    void an_awkward_source_raises_none_data()
    {
        QTest::addColumn<QString>("mail");
        QTest::addColumn<QString>("accounts");
        QTest::newRow("quotes") << "V9/IMAP-o'neill@imap.h/1|V9/o'neill@h/2"
                                << "1:o'neill@h::o'neill@h";
        QTest::newRow("several rows of one name") << "V9/IMAP-a@imap.h/1|V9/" + first + "/2"
                                                  << "1:x::a@h|2:" + first + ":1:a@h|3:y:1:a@h";
        QTest::newRow("named twice") << "V9/IMAP-a@imap.h/1|V9/POP-a@pop3.h/2|V9/" + first + "/3"
                                     << "1:" + first + "::a@h";
        QTest::newRow("parent that is not there") << "V9/" + first + "/1"
                                                  << "1:" + first + ":7:";
        QTest::newRow("empty identifier") << "V9/a@h/1|V9/b@h/1"
                                          << "1:::a@h";
        QTest::newRow("names that end each other") << "V9/" + first + "/1|V9/old " + first + "/2/3|V8/" + first + "/"
                                                   << "1:" + first + "::a@h";
        QTest::newRow("files and hidden folders")
            << "V9/" + first + "|V9/.IMAP-x@h/1|V9/.h/IMAP-x@h/1|V9/IMAP|V9/MailData/POP-y@h/z"
            << "1:" + first + "::a";
        QTest::newRow("blanks at the end") << "V9/" + first + " /1|V9/IMAP-a@h /1"
                                           << "1:" + first + " ::a@h";
        QTest::newRow("no Mail version") << "IMAP-a@h/1|V2/" + first + "/1|V7/x/1|V3/" + first + "/1"
                                         << "1:" + first + "::a";
    }

    void an_awkward_source_raises_none()
    {
        QFETCH(QString, mail);
        QFETCH(QString, accounts);
        const evidence_source source;
        source.add_mail("ann", mail);
        source.add_store("ann", accounts);
        source.add_link("IMAP-link@h", "V9");
        source.add_link("V10", "V9");
        source.add_link("POP-nowhere@h", "nowhere");
        extract(source);
        QCOMPARE(checked(source), QStringList());

        // As a suite has it, the second user's Mail meets the store of whom the position names.
        source.add_mail("bob", "V9/" + second + "/1|V8/" + second + "/1");
        source.add_store("bob", "1:" + second + "::b@h");
        QFile::remove(database_of(source));
        driven_plugin(source, {.users = {"ann", "bob"}}).run();
        QCOMPARE(checked(source, true), QStringList());
    }

    void a_lost_row_is_named_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("line");
        const QString folder = "Users/ann/Library/Mail/V9/";
        const QString of_store = folder + first;
        QTest::newRow("of the store") << "DELETE FROM accounts WHERE dest_path LIKE '%" + first + "'"
                                      << of_store + ": no row for it, though the account store knows its account "
                                                    "(user ann)";
        QTest::newRow("of the log") << "DELETE FROM accounts WHERE dest_path LIKE '%" + second + "'"
                                    << folder + second +
                                           ": no row for it, though the account store knows its account "
                                           "(user ann)";
        QTest::newRow("of a folder") << "DELETE FROM accounts WHERE account_type = 'POP'"
                                     << folder + first + "/POP-p@h: no row for it (user ann)";
        QTest::newRow("of another user") << "UPDATE accounts SET system_user = 'x' WHERE account_type = 'POP'"
                                         << folder + first + "/POP-p@h: no row for it (user ann)";
        QTest::newRow("files") << "UPDATE accounts SET files_copied = 7 WHERE dest_path LIKE '%" + first + "'"
                               << of_store + ": its row tells of 7 files, and its copy takes 2 (user ann)";
    }

    void a_lost_row_is_named()
    {
        QFETCH(QString, change);
        QFETCH(QString, line);
        const evidence_source source;
        source.add_mail("ann",
                        "V9/" + first + "/1|V9/" + first + "/POP-p@h/2|V9/" + first + "/.hidden|V9/" + second + "/1");
        source.add_store("ann", "1:" + first + "::a@h", "2:" + second + "::b@h");
        extract(source);
        QCOMPARE(checked(source), QStringList());
        rows_of(database_of(source), change);
        QCOMPARE(checked(source), QStringList(line));
    }
};

QTEST_MAIN(tst_row_check)
#include "tst_row_check.moc"
