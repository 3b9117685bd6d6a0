#include "host/cases/sources_csv.h"
#include "tests/common/failure_text.h"
#include "tests/common/files.h"

#include <QTemporaryDir>
#include <QTest>

class tst_sources_csv : public QObject
{
    Q_OBJECT

private slots:
    void reads_what_spreadsheets_write_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("rows"); // index/evidence/source/notes, one a line
        QTest::newRow("as written") << QByteArray("index,evidence_number,source,notes\n3,EV-1,../a,x\n")
                                    << "3/EV-1/../a/x";
        QTest::newRow("mark, CR LF, semicolons, other order")
            << QByteArray("\xEF\xBB\xBFSource;Index\r\n/mnt/a,b;7\r\n") << "7///mnt/a,b/";
        QTest::newRow("tabs, CR") << QByteArray("index\tsource\r1\t/a\r") << "1///a/";
        QTest::newRow("quotes, line break, own column, no index")
            << QByteArray("source,shelf,notes\n\"/a \"\"b\"\"\",4,\"x\ny\"\n,,\n") << "-///a \"b\"/x\ny";
        QTest::newRow("commas in a title, empty lines before it")
            << QByteArray("\n;;\n\"shelf, \"\"box\"\", room\";source\n4;/a\n") << "-///a/";
        QTest::newRow("short row") << QByteArray("index,source,notes\n1,/a") << "1///a/";
    }
    void reads_what_spreadsheets_write()
    {
        QFETCH(QByteArray, text);
        QTemporaryDir directory;
        QStringList rows;
        for (const source_row& row : read_sources(write_file(directory.filePath("s.csv"), text)).rows) {
            rows.append(
                QStringList{row.index ? QString::number(*row.index) : "-", row.evidence_number, row.source, row.notes}
                    .join('/'));
        }
        QTEST(rows.join('\n'), "rows");
    }

    void refuses_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("reason");
        QTest::newRow("empty") << QByteArray() << "it is empty";
        QTest::newRow("no source column") << QByteArray("index,path\n1,/a\n") << "line 1: no column \"source\"";
        QTest::newRow("column twice") << QByteArray("source,Source\n") << "line 1: the column \"source\" stands twice";
        QTest::newRow("index twice") << QByteArray("index,source\n1,/a\n\n1,/b\n")
                                     << "line 4: index 1 stands in line 2";
        QTest::newRow("no index") << QByteArray("index,source\n1x,/a\n") << "line 2: \"1x\" is no index";
        QTest::newRow("index 0") << QByteArray("index,source\n0,/a\n") << "line 2: \"0\" is no index";
        QTest::newRow("no source") << QByteArray("index,source\n1,\n") << "line 2: it names no source";
        QTest::newRow("open quote") << QByteArray("index,source\n1,\"/a\n") << "line 2: a quote does not end";
        QTest::newRow("not UTF-8") << QByteArray("index,source\n1,/a\n2,/\xFC\n") << "line 3: not UTF-8";
        QTest::newRow("zero byte") << QByteArray("source\n/a\0b\n", 12) << "zero byte";
        QTest::newRow("too many fields") << QByteArray("source\n/a,b\n") << "line 2: more fields";
    }
    void refuses()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, reason);
        QTemporaryDir directory;
        const QString path = write_file(directory.filePath("s.csv"), text);
        const QString said = failure_text([&path] { read_sources(path); });
        QVERIFY2(said.contains(path) && said.contains(reason), qPrintable(said));
    }

    void keeps_what_people_added()
    {
        QTemporaryDir directory;
        const QString path =
            write_file(directory.filePath("s.csv"), "\xEF\xBB\xBFsource;shelf\r\n\"/a;b\";4\r\n/c;\r\n");
        source_list sources = read_sources(path);
        set_index(sources, 3, 2);
        append_source(sources, {3, "EV", "/d", "n", 0});
        write_sources(path, sources);
        QCOMPARE(content_of(path), "\xEF\xBB\xBFsource;shelf;index\n\"/a;b\";4\n/c;;2\n/d;;3\n");
        // What a written title holds is neither a separator nor a mark.
        for (const QByteArray text :
             {"\n\xEF\xBB\xBFshelf;source\n4;/a,b\n", "\nsource,\"a;b;c\"\n/a,4\n", "\"\"\"\";source\n;/a"}) {
            const source_list read = sources_from(text, "s.csv");
            const source_list again = sources_from(csv_text(read.table), "s.csv");
            QCOMPARE(again.table.header, read.table.header);
            QCOMPARE(again.rows.first().source, read.rows.first().source);
        }
    }
};

QTEST_GUILESS_MAIN(tst_sources_csv)
#include "tst_sources_csv.moc"
