#include "host/cases/path_mapping.h"
#include "host/cases/source_fingerprint.h"
#include "tests/common/failure_text.h"
#include "tests/common/files.h"

#include <QTemporaryDir>
#include <QTest>

#include <filesystem>

namespace {

const QString folder = "Users/ann/Library/Mail/V10/6F9619FF-8B86-D011-B42D-00CF4FC964FF/";

void write_source(const QString& root)
{
    write_file(root + "/Users/ann/Library/Accounts/Accounts4.sqlite", "store");
    write_file(root + "/" + folder + "1.emlx");
}

} // namespace

class tst_source_fingerprint : public QObject
{
    Q_OBJECT

private slots:
    void tells_sources_apart_data()
    {
        QTest::addColumn<QString>("changed");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("difference");
        QTest::newRow("nothing") << QString() << QByteArray() << QString();
        QTest::newRow("mail is no matter") << folder + "2.emlx" << QByteArray("x") << QString();
        QTest::newRow("another store") << "Users/ann/Library/Accounts/Accounts4.sqlite" << QByteArray("stork")
                                       << "Users/ann/Library/Accounts/Accounts4.sqlite is another";
        QTest::newRow("another user") << "Users/ben/x" << QByteArray("x") << "users is another";
        QTest::newRow("another account folder")
            << "Users/ann/Library/Mail/V9/IMAP-ann@example.org/1.emlx" << QByteArray("x")
            << "Users/ann/Library/Mail, names of its account folders is another";
        QTest::newRow("set up") << "private/var/db/.AppleSetupDone" << QByteArray()
                                << "time of first set-up was not there";
    }
    void tells_sources_apart()
    {
        QFETCH(QString, changed);
        QFETCH(QByteArray, content);
        QTemporaryDir directory;
        write_source(directory.path());
        const source_fingerprint before =
            fingerprint_from_json(fingerprint_to_json(take_fingerprint(directory.path())));
        QVERIFY(before.error.isEmpty());
        if (!changed.isEmpty()) {
            write_file(directory.filePath(changed), content);
        }
        const source_fingerprint after = take_fingerprint(directory.path());
        QTEST(fingerprint_differences(before, after).join('|'), "difference");
        QCOMPARE(is_same_source(before, after), fingerprint_differences(before, after).isEmpty());
    }

    void nothing_of_its_own_is_no_proof()
    {
        QTemporaryDir directory;
        write_file(directory.filePath("Users/ann/Library/Mail/V9/IMAP-a/1.emlx"));
        const source_fingerprint identity = take_fingerprint(directory.path());
        QVERIFY(!is_same_source(identity, identity));
        QVERIFY(take_fingerprint(directory.filePath("absent")).error.contains("absent"));
    }

    void what_could_not_be_looked_at_is_no_difference()
    {
        const source_fingerprint known{{{"users", "ann", false}}, {}, {}};
        source_fingerprint blocked = known;
        blocked.facts.prepend({"Users/ann/Library/Accounts/Accounts3.sqlite", {}, false});
        QCOMPARE(fingerprint_differences(known, blocked), QStringList());
        QCOMPARE(fingerprint_differences(blocked, known), QStringList());
    }

    void mappings_data()
    {
        QTest::addColumn<QStringList>("given");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("path");
        const QStringList none;
        QTest::newRow("absolute") << none << "/mnt/mac"
                                  << "/mnt/mac";
        QTest::newRow("relative to the case") << none << "../evidence/mac"
                                              << "/cases/evidence/mac";
        QTest::newRow("mapped") << QStringList{"/mnt=/nas/e/"} << "/mnt/mac"
                                << "/nas/e/mac";
        QTest::newRow("relative, mapped") << QStringList{"/cases/evidence=/e"} << "../evidence/mac"
                                          << "/e/mac";
        QTest::newRow("half a name") << QStringList{"/mn=/nas"} << "/mnt/mac"
                                     << "/mnt/mac";
        QTest::newRow("the longest") << QStringList{"/mnt=/a", "/mnt/mac=/b", "/=/c"} << "/mnt/mac/x"
                                     << "/b/x";
        QTest::newRow("the root") << QStringList{"/=/c"} << "/mnt"
                                  << "/c/mnt";
        QTest::newRow("from the environment") << QStringList{"/x=/y"} << "/env/mac"
                                              << "/of env/mac";
    }
    void mappings()
    {
        QFETCH(QStringList, given);
        QFETCH(QString, source);
        qputenv("MAIL_EXTRACT_MAP", "/env=/of env;/env2=/z");
        QTEST(path_on_this_machine("/cases/17", source, read_mappings(given)), "path");
        qunsetenv("MAIL_EXTRACT_MAP");
        for (const char* bad : {"", "/a", "a=/b", "/a=", "=/b"}) {
            QVERIFY(failure_text([bad] { read_mappings({bad}); }).contains("FROM=TO"));
        }
        QVERIFY(failure_text([] { read_mappings({"/a/=/b", "/c=/d", "/a=/e"}); }).contains("/b and to /e"));
        QVERIFY(failure_text([] { read_mappings({QFile::decodeName("/a\xff=/b")}); }).contains("UTF-8"));
    }
};

QTEST_GUILESS_MAIN(tst_source_fingerprint)
#include "tst_source_fingerprint.moc"
