#include "host/completeness/mailbox_names.h"

#include <QTest>

/// Which folder and mailbox an address of the index means.
class tst_mailbox_names : public QObject
{
    Q_OBJECT

private slots:
    void addresses_lead_to_folders_data()
    {
        QTest::addColumn<QByteArray>("address");
        QTest::addColumn<QByteArray>("folder");
        QTest::addColumn<QByteArray>("account");
        QTest::addColumn<QByteArray>("mailbox");
        const auto row = [](const char* address, const char* folder, const char* account, const QByteArray& mailbox) {
            QTest::newRow(address) << QByteArray(address) << QByteArray(folder) << QByteArray(account) << mailbox;
        };
        const char* identifier = "0A1B2C3D-0000-4000-8000-00000000000F";
        row("imap://0A1B2C3D-0000-4000-8000-00000000000F/INBOX", identifier, identifier, "INBOX");
        row("imap://0a1b2c3d-0000-4000-8000-00000000000f/%5BGmail%5D/All%20Mail", identifier,
            "0a1b2c3d-0000-4000-8000-00000000000f", "[Gmail]/All Mail");
        row("ews://0A1B2C3D-0000-4000-8000-00000000000F/A%2FB/C", identifier, identifier, "A:B/C");
        row("ews://11111111-0000-4000-8000-00000000000F/Inbox", "", "11111111-0000-4000-8000-00000000000F", "Inbox");
        row("imap://anna@imap.example.org/INBOX", "IMAP-anna@imap.example.org", "anna@imap.example.org", "INBOX");
        row("imap://anna%40example.org@imap.example.org/INBOX", "IMAP-anna@example.org",
            "anna@example.org@imap.example.org", "INBOX");
        row("pop://anna@imap.example.org/INBOX", "", "anna@imap.example.org", "INBOX");
        row("POP://ben@pop.example.org/INBOX", "POP-ben@pop.example.org", "ben@pop.example.org", "INBOX");
        row("local:///Old/Mail", "Mailboxes", "", "Old/Mail");
        row("local://22222222-0000-4000-8000-00000000000F/Outbox", "", "22222222-0000-4000-8000-00000000000F",
            "Outbox");
        row("mailbox:///Users/x/Library/Mail/Mailboxes/Old.mbox", "Mailboxes", "", "Old");
        row("imap://0A1B2C3D-0000-4000-8000-00000000000F/Entwu%CC%88rfe", identifier, identifier, "Entw\xc3\xbcrfe");
        row("imap://0A1B2C3D-0000-4000-8000-00000000000F/%FF%zz%", identifier, identifier, "\xff%zz%");
        row("imap://0A1B2C3D-0000-4000-8000-00000000000F//..///%2e%2e%2F%00/", identifier, identifier,
            QByteArray("../..:\0", 7));
        row("imap://0A1B2C3D-0000-4000-8000-00000000000F", identifier, identifier, "");
        row("", "", "", "");
        row("INBOX", "", "", "INBOX");
        row("://", "", "", "://");
        row("imap://@", "", "", "");
    }

    void addresses_lead_to_folders()
    {
        QFETCH(QByteArray, address);
        QFETCH(QByteArray, folder);
        QFETCH(QByteArray, account);
        QFETCH(QByteArray, mailbox);
        const QList<QByteArray> folders{"0A1B2C3D-0000-4000-8000-00000000000F", "IMAP-anna@example.org",
                                        "IMAP-anna@imap.example.org", "POP-ben@pop.example.org", "Mailboxes"};
        const mailbox_address parsed = parse_mailbox_address(address);
        QCOMPARE(folder_of(parsed, by_lower_case(folders)), folder);
        QCOMPARE(account_of(parsed), account);
        QCOMPARE(mailbox_path(parsed.names), mailbox);
    }

    void folders_are_mailboxes_by_their_ending()
    {
        for (const auto& [folder, name] : {std::pair("INBOX.mbox", "INBOX"),
                                           {"INBOX.imapmbox", "INBOX"},
                                           {"a.mbox.mbox", "a.mbox"},
                                           {"Data", "Data"}}) {
            QCOMPARE(name_of_mailbox_folder(folder), QByteArray(name));
            QCOMPARE(is_mailbox_folder(folder), qstrcmp(folder, name) != 0);
        }
        QVERIFY(!is_mailbox_folder(".mbox"));
        QCOMPARE(comparable_name("Entwu\xcc\x88rfe"), QByteArray("Entw\xc3\xbcrfe"));
        QCOMPARE(comparable_name("u\xcc"), QByteArray("u\xcc"));
        QCOMPARE(comparable_name("\xef\xbb\xbfx"), QByteArray("\xef\xbb\xbfx"));
        // Normalised, these would take hours.
        const QByteArray marks = QByteArray("\xcc\x95\xcc\x80").repeated(1'000'000);
        QCOMPARE(comparable_name(marks), marks);
    }
};

QTEST_GUILESS_MAIN(tst_mailbox_names)
#include "tst_mailbox_names.moc"
