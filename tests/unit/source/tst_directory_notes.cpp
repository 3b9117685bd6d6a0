#include "host/source/directory_notes.h"
#include "tests/common/files.h"

#include <QTemporaryDir>
#include <QTest>

class tst_directory_notes : public QObject
{
    Q_OBJECT

private slots:
    void only_what_holds_and_lies_in_nothing_hidden_is_plain_data()
    {
        QTest::addColumn<QString>("directory");
        QTest::addColumn<bool>("is_plain");
        QTest::newRow("the root, beside something hidden") << "" << false;
        QTest::newRow("nothing hidden") << "/plain" << true;
        QTest::newRow("below that") << "/plain/inner" << true;
        QTest::newRow("a hidden file in it") << "/mixed" << false;
        QTest::newRow("beside a hidden file") << "/mixed/inner" << true;
        QTest::newRow("hidden itself") << "/.hidden" << false;
        QTest::newRow("in something hidden") << "/.hidden/inner" << false;
        QTest::newRow("deep in something hidden") << "/.hidden/inner/deep" << false;
        QTest::newRow("reached by a way of its own") << "/unknown/inner" << false;
    }

    void only_what_holds_and_lies_in_nothing_hidden_is_plain()
    {
        QFETCH(const QString, directory);
        QFETCH(const bool, is_plain);
        const QTemporaryDir folder;
        for (const char* file :
             {"plain/inner/1", "plain/2", "mixed/.3", "mixed/inner/4", ".hidden/inner/deep/5", "unknown/inner/6"}) {
            write_file(folder.filePath(file), "12345");
        }
        const QByteArray root = QFile::encodeName(folder.path());
        directory_notes notes({root});
        for (const char* path : {"", "/plain", "/plain/inner", "/mixed", "/mixed/inner", "/.hidden", "/.hidden/inner",
                                 "/.hidden/inner/deep", "/unknown/inner"}) {
            notes.add(root + path, quiet_list(root + path));
        }
        const std::optional<directory_note> note = notes.find(root + QFile::encodeName(directory));
        QVERIFY(note.has_value());
        QCOMPARE(note->is_plain, is_plain);
        QCOMPARE(note->amount.bytes, 5 * note->amount.files);
        QVERIFY(!notes.find(root + "/unknown"));
    }

    void what_lies_in_a_directory_listed_again_is_plain_once_listed_again()
    {
        const QTemporaryDir folder;
        write_file(folder.filePath("inner/1"), "12345");
        const QByteArray root = QFile::encodeName(folder.path());
        directory_notes notes({root});
        for (const bool is_again : {false, true}) {
            notes.add(root, quiet_list(root));
            QCOMPARE(notes.find(root + "/inner").has_value(), is_again);
            QVERIFY(!is_again || !notes.find(root + "/inner")->is_plain);
            notes.add(root + "/inner", quiet_list(root + "/inner"));
            QVERIFY(notes.find(root + "/inner")->is_plain);
            QCOMPARE(notes.find(root + "/inner")->changed, quiet_stat(root + "/inner").changed);
        }
    }

    void a_directory_that_cannot_be_listed_is_not_kept()
    {
        directory_notes notes({"/nowhere"});
        notes.add("/nowhere", quiet_list("/nowhere"));
        QVERIFY(!notes.find("/nowhere"));
    }
};

QTEST_APPLESS_MAIN(tst_directory_notes)
#include "tst_directory_notes.moc"
