#include "host/files/nearby_files.h"
#include "tests/common/files.h"

#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

class tst_nearby_files : public QObject
{
    Q_OBJECT

private slots:
    void say_what_the_whole_paths_say()
    {
        const QTemporaryDir folder;
        write_file(folder.filePath("a/file"), "a");
        write_file(folder.filePath("b/file"), "bb");
        QVERIFY(QFile::link("a", folder.filePath("to a")) && QFile::link("file", folder.filePath("b/link")));
        QCOMPARE(::mkfifo(QFile::encodeName(folder.filePath("b/pipe")).constData(), 0600), 0);
        const QByteArray root = QFile::encodeName(folder.path()) + '/';
        nearby_files files;
        for (const QByteArray& path : QByteArrayList{
                 "a/file", "b/file", "b/link", "b/pipe", "b/.", "b/none", "none/file", "b/file/below", "to a/file",
                 "a/file", "a", "b/file", "b/file", "b/pipe", "b/", "b/" + QByteArray("/./").repeated(2000) + "file"}) {
            const QByteArray whole = root + path;
            for (const link_handling links : {link_handling::keep, link_handling::follow}) {
                const quiet_file expected = quiet_open(whole, links);
                for (const content_source from : {content_source::anywhere, content_source::disk}) {
                    const quiet_file found = files.open(whole, links, from);
                    QCOMPARE(found.error, expected.error);
                    QCOMPARE(found.error_number, expected.error_number);
                    QCOMPARE(found.facts.inode, expected.facts.inode);
                    files.ask_for(whole, links, from); // for the next time round
                }
            }
            QCOMPARE(files.facts(whole).inode, quiet_stat(whole).inode);
            QCOMPARE(files.facts(whole).error, quiet_stat(whole).error);
            QCOMPARE(files.facts(whole).hidden, quiet_stat(whole).hidden);
            QCOMPARE(files.may_read(whole), quiet_stat(whole, link_handling::follow).error.isEmpty());
        }
    }
};

QTEST_APPLESS_MAIN(tst_nearby_files)
#include "tst_nearby_files.moc"
