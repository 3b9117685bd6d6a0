#include "host/files/content_place.h"
#include "tests/common/files.h"

#include <QTemporaryDir>
#include <QTest>

class tst_content_place : public QObject
{
    Q_OBJECT

private slots:
    void a_copy_is_read_only_where_it_can_stand_for_the_file_data()
    {
        QTest::addColumn<QByteArray>("copy"); // null when there is none
        QTest::addColumn<bool>("is_told");
        QTest::addColumn<int>("refusals");
        QTest::addColumn<QByteArrayList>("read");
        QTest::newRow("whole copy") << QByteArray("copy") << true << 0 << QByteArrayList{"copy"};
        QTest::newRow("nobody tells of one") << QByteArray("copy") << false << 0 << QByteArrayList{"file"};
        QTest::newRow("of another size") << QByteArray("cop") << true << 0 << QByteArrayList{"file"};
        QTest::newRow("gone") << QByteArray() << true << 0 << QByteArrayList{"file"};
        QTest::newRow("cannot be read to its end") << QByteArray("copy") << true << 1 << QByteArrayList{"copy", "file"};
        QTest::newRow("neither can") << QByteArray("copy") << true << 2 << QByteArrayList{"copy", "file"};
    }

    void a_copy_is_read_only_where_it_can_stand_for_the_file()
    {
        QFETCH(const QByteArray, copy);
        QFETCH(const bool, is_told);
        QFETCH(int, refusals);
        const QTemporaryDir folder;
        write_file(folder.filePath("file"), "file");
        if (!copy.isNull()) {
            write_file(folder.filePath("copy"), copy);
        }
        const QByteArray path = QFile::encodeName(folder.filePath("file"));
        const auto place = [&](const QByteArray& asked, const entry_facts&) {
            return asked == path && is_told ? QFile::encodeName(folder.filePath("copy")) : QByteArray();
        };
        QByteArrayList read;
        read_content(path, quiet_stat(path), place, [&](const quiet_file& file) {
            read.append(quiet_read_head(file, 10).data);
            return refusals-- <= 0;
        });
        QTEST(read, "read");
    }
};

QTEST_APPLESS_MAIN(tst_content_place)
#include "tst_content_place.moc"
