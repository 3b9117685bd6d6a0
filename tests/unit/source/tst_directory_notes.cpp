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
        const directory_note* note = notes.find(root + QFile::encodeName(directory));
        QVERIFY(note != nullptr);
        QCOMPARE(note->is_plain, is_plain);
        QCOMPARE(note->amount.bytes, 5 * note->amount.files);
        QVERIFY(notes.find(root + "/unknown") == nullptr);
    }

    void a_directory_that_cannot_be_listed_is_not_kept()
    {
        directory_notes notes({"/nowhere"});
        notes.add("/nowhere", quiet_list("/nowhere"));
        QVERIFY(notes.find("/nowhere") == nullptr);
    }
};

QTEST_APPLESS_MAIN(tst_directory_notes)
#include "tst_directory_notes.moc"
