#include "host/source/source_snapshot.h"
#include "tests/common/files.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

class tst_source_snapshot : public QObject
{
    Q_OBJECT

private slots:
    void what_changed_is_told_by_path()
    {
        const QTemporaryDir source;
        const QString mail = source.filePath("Users/ann/Library/Mail/V9");
        write_file(mail + "/gone/1", "1");
        write_file(mail + "/more/1", "1");
        write_file(mail + "/same/1", "1");
        source_snapshot at_first(QFile::encodeName(source.path()), {"ann"}, {});
        QDir(mail + "/gone").removeRecursively();
        write_file(mail + "/more/2", "2");
        write_file(mail + "/a new one/1", "1");
        const QString says = ": the source changed during the run: ";
        const QStringList lines{
            "Users/ann/Library/Mail/V9/gone" + says +
                "the directory is no longer there (it held 1 files, 0 folders, 0 links, 0 others)",
            "Users/ann/Library/Mail/V9/more" + says +
                "1 files, 0 folders, 0 links, 0 others at first, 2 files, 0 folders, 0 links, 0 others at last",
            "Users/ann/Library/Mail/V9/a new one" + says +
                "a directory that was not there at first (1 files, 0 folders, 0 links, 0 others)"};
        QCOMPARE(at_first.changes_until_now({}), lines);
    }

    void the_first_of_many_changes_are_named()
    {
        const QTemporaryDir source;
        const QString mail = source.filePath("Users/ann/Library/Mail");
        const auto name = [](int number) { return QStringLiteral("/V9/%1").arg(number, 3, 10, QLatin1Char('0')); };
        for (int i = 0; i < 300; ++i) {
            write_file(mail + name(i) + "/1", "1");
        }
        source_snapshot at_first(QFile::encodeName(source.path()), {"ann"}, {});
        for (int i = 299; i >= 0; i -= 3) {
            write_file(mail + name(i) + "/2", "2");
        }
        const QStringList lines = at_first.changes_until_now({});
        QCOMPARE(lines.size(), 21);
        for (int i = 0; i < 20; ++i) {
            QVERIFY2(lines[i].startsWith("Users/ann/Library/Mail" + name(2 + 3 * i) + ": "), qPrintable(lines[i]));
        }
        QCOMPARE(lines[20], "80 more directories of the source changed during the run");
    }
};

QTEST_APPLESS_MAIN(tst_source_snapshot)
#include "tst_source_snapshot.moc"
