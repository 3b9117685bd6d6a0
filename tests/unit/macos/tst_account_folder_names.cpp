#include "macos/account_folder_names.h"

#include <QTest>

class tst_account_folder_names : public QObject
{
    Q_OBJECT

private slots:
    void names_data()
    {
        QTest::addColumn<QString>("candidate"); // "-" for none
        QTest::addColumn<QString>("account");   // "-" for none, else type and name
        const auto row = [](const char* name, const char* candidate, const char* account) {
            QTest::newRow(name) << candidate << account;
        };
        row("8D9F4E4A-41C9-4F6E-8E0B-2F0B5C7A9D11", "8D9F4E4A-41C9-4F6E-8E0B-2F0B5C7A9D11", "-");
        row("imap-a@host", "imap-a@host", "-");
        row("", "", "-");
        row("IMAP-a@imap.host", "a@host", "IMAP a@host");
        row("IMAP-a@mail.host", "a@mail.host", "IMAP a@mail.host");
        row("POP-a@pop3.host", "a@host", "POP a@pop3.host");
        row("POP-a@imap.host", "a@host", "POP a@imap.host");
        row("POP-a@pop3.live.com", "a@live.com", "POP a");
        row("IMAP-a@pop3.live.com", "a@live.com", "IMAP a@pop3.live.com");
        row("IMAP-imap.a@imap.b.imap.c", "a@b.c", "IMAP a@b.c");
        row("IMAP-a@host@imap.server", "a@host", "IMAP a@host@server");
        row("IMAP-a@imap.host@server", "a@imap.host", "IMAP a@host@server");
        row("IMAP-a@x@x@b", "a@b", "IMAP a@x@x@b");
        row("IMAP-a@b@c@d", "a@b@d", "IMAP a@b@c@d");
        row("IMAP-IMAP-a@host", "a@host", "IMAP a@host");
        row("IMAP-POP-a@host", "a@host", "IMAP POP-a@host");
        row("POP-IMAP-a@host", "IMAP-a@host", "POP IMAP-a@host");
        row("POP-a@b@", "ab", "POP a@b@");
        row("IMAP-@", "@", "IMAP @");
        row("IMAP-local", "-", "IMAP local");
        row("IMAP-", "-", "IMAP ");
        row("IMAP", "IMAP", "IMAP IMAP");
        row("POPular", "POPular", "POP POPular");
        row("XPOP-a@host", "XPOP-a@host", "-");
    }

    void names()
    {
        QFETCH(const QString, candidate);
        QFETCH(const QString, account);
        const QString name = QString::fromUtf8(QTest::currentDataTag());
        QCOMPARE(candidate_from_folder_name(name).value_or("-"), candidate);
        const auto found = account_from_folder_name(name);
        QCOMPARE(found ? found->type + ' ' + found->account : QString("-"), account);
    }

    void the_last_path_with_an_ending()
    {
        const QStringList paths{"/V9/ID-A", "/V9/A", "/V9/ID-B", "/V9/id-a"};
        const auto found = last_path_by_ending(paths, {"A", "ID-A", "B", "b", "", "/V9/ID-A", "//V9/ID-A", "A"});
        const QHash<QString, QString> expected{
            {"A", "/V9/A"}, {"ID-A", "/V9/ID-A"}, {"B", "/V9/ID-B"}, {"", "/V9/id-a"}, {"/V9/ID-A", "/V9/ID-A"}};
        QCOMPARE(found, expected);
    }
};

QTEST_MAIN(tst_account_folder_names)
#include "tst_account_folder_names.moc"
