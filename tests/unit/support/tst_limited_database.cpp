#include "support/limited_database.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString endless = QStringLiteral("WITH RECURSIVE c(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM c) ");
constexpr qint64 second = 1'000'000'000;

QString heap_limit()
{
    named_connection other("another", ":memory:");
    QSqlQuery query(other.database());
    return query.exec("PRAGMA hard_heap_limit") && query.next() ? query.value(0).toString() : "unknown";
}

} // namespace

class tst_limited_database : public QObject
{
    Q_OBJECT

private slots:
    void init() { directory = std::make_unique<QTemporaryDir>(); }

    void tables_are_told_from_what_runs_data()
    {
        QTest::addColumn<QString>("schema");
        QTest::addColumn<QString>("reason");
        const QString no_table = "t is no table but a view or a virtual table";
        QTest::newRow("a table") << "CREATE TABLE T (a)"
                                 << "";
        QTest::newRow("nothing") << "CREATE TABLE u (a); CREATE VIEW v AS SELECT 1"
                                 << "";
        QTest::newRow("a view") << "CREATE VIEW T AS " + endless + "SELECT n FROM c" << no_table;
        QTest::newRow("a virtual table") << "CREATE VIRTUAL TABLE t USING fts4(a)" << no_table;
        QTest::newRow("a computed column") << "CREATE TABLE t (a, b AS (hex(zeroblob(1000000000))))"
                                           << "t has computed columns";
    }

    void tables_are_told_from_what_runs()
    {
        QFETCH(const QString, schema);
        const QString path = directory->filePath("store");
        {
            named_connection made("made", path);
            for (const QString& statement : schema.split("; ")) {
                QVERIFY(QSqlQuery(made.database()).exec(statement));
            }
        }
        qint64 left = second;
        limited_database opened("opened", path, "t", left);
        QTEST(opened.opening_error(), "reason");
    }

    void statements_end()
    {
        const QString before = heap_limit();
        {
            qint64 left = second / 2;
            limited_database opened("opened", directory->filePath("store"), "t", left);
            QSqlQuery query(opened.database());
            QVERIFY(!opened.execute(query, "SELECT hex(zeroblob(300000))"));
            QVERIFY2(opened.error_of(query).contains("too big"), qPrintable(opened.error_of(query)));
            // What is kept sorted in memory would fill it before it takes too long.
            QVERIFY(opened.execute(query, "PRAGMA temp_store = memory"));
            QVERIFY(!opened.execute(query, endless + "SELECT n, zeroblob(400000) FROM c ORDER BY 2"));
            QElapsedTimer timer;
            timer.start();
            QVERIFY(!opened.execute(query, endless + "SELECT count(*) FROM c"));
            QVERIFY2(timer.elapsed() < 5000, "the statement was not stopped in time");
            QVERIFY(opened.is_time_over() && !opened.execute(query, "SELECT 1"));
            QCOMPARE(opened.error_of(query), "reading this database takes too long");
        }
        // The limits end with the object; the host has databases of its own.
        QCOMPARE(heap_limit(), before);
        named_connection other("other", ":memory:");
        QVERIFY(QSqlQuery(other.database()).exec("SELECT hex(zeroblob(1000000))"));
    }

private:
    std::unique_ptr<QTemporaryDir> directory;
};

QTEST_GUILESS_MAIN(tst_limited_database)
#include "tst_limited_database.moc"
