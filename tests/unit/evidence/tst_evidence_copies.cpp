#include "host/evidence/evidence_database.h"
#include "host/evidence/evidence_failure.h"
#include "tests/common/files.h"

#include <QTest>
#include <QtEndian>

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr const char* super_journal_magic = "d9d505f920a163d7";

QByteArray big_endian(quint32 number)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(number, bytes.data());
    return bytes;
}

/// A directory that plays the source, and one for scratch.
struct fixture
{
    QTemporaryDir directory;
    QString source = write_file(directory.filePath(u"source/x"_s)).chopped(2);
    QString scratch = write_file(directory.filePath(u"scratch/x"_s)).chopped(2);
    QByteArray path = QFile::encodeName(source + u"/db.sqlite"_s);

    evidence_copies copies(const evidence_limits& limits = {}) const
    {
        return {QFile::encodeName(source), path, scratch, limits};
    }
    QString failure(const evidence_limits& limits = {}) const
    {
        try {
            copies(limits);
            return {};
        } catch (const evidence_failure& refused) {
            return refused.message();
        }
    }
};

/// Runs statements on a database of the test's own and leaves its files as they are before it is closed.
void build(const fixture& made, const char* statements)
{
    const QByteArray working = QFile::encodeName(made.directory.filePath(u"working.sqlite"_s));
    sqlite3* connection = nullptr;
    QCOMPARE(sqlite3_open(working.constData(), &connection), SQLITE_OK);
    QCOMPARE(sqlite3_exec(connection, statements, nullptr, nullptr, nullptr), SQLITE_OK);
    for (const char* suffix : {"", "-wal", "-journal"}) {
        QFile::copy(QFile::decodeName(working + suffix), QFile::decodeName(made.path + suffix));
    }
    sqlite3_close(connection);
}

QStringList values(const evidence_database& database, const QByteArray& statement)
{
    QStringList found;
    evidence_rows rows = database.select(statement);
    while (rows.next()) {
        found.append(rows.text(0));
    }
    return found;
}

QString failure_of(const evidence_database& database, const QByteArray& statement)
{
    try {
        values(database, statement);
        return {};
    } catch (const evidence_failure& refused) {
        return refused.message();
    }
}

constexpr const char* endless = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT ";

} // namespace

class tst_evidence_copies : public QObject
{
    Q_OBJECT

private slots:
    void reads_with_its_log_and_alone_data();
    void reads_with_its_log_and_alone();
    void refuses_what_is_no_file_of_the_source_data();
    void refuses_what_is_no_file_of_the_source();
    void looks_at_a_table_before_it_is_read_data();
    void looks_at_a_table_before_it_is_read();
    void a_forged_journal_deletes_nothing();
    void a_tree_of_any_depth_is_checked();
    void limits_hold_data();
    void limits_hold();
    void waiting_is_no_work();
    void ends_between_two_rows_too();
};

void tst_evidence_copies::reads_with_its_log_and_alone_data()
{
    QTest::addColumn<QByteArray>("statements");
    QTest::addColumn<QStringList>("with_log");
    QTest::addColumn<QStringList>("alone");
    QTest::newRow("a log") << QByteArray("PRAGMA journal_mode=WAL; CREATE TABLE t(a); INSERT INTO t VALUES('kept'),"
                                         "('removed'); PRAGMA wal_checkpoint(TRUNCATE); DELETE FROM t WHERE "
                                         "a='removed'; INSERT INTO t VALUES('new')")
                           << QStringList{u"kept"_s, u"new"_s} << QStringList{u"kept"_s, u"removed"_s};
    QTest::newRow("an unfinished change")
        << QByteArray("CREATE TABLE t(a); INSERT INTO t VALUES('committed'); PRAGMA cache_size=1; BEGIN; "
                      "UPDATE t SET a='never committed'; CREATE TABLE u(a); WITH RECURSIVE n(i) AS (SELECT 1 UNION "
                      "ALL SELECT i+1 FROM n LIMIT 900) INSERT INTO u SELECT randomblob(500) FROM n")
        << QStringList{u"committed"_s} << QStringList{u"never committed"_s};
    QTest::newRow("neither") << QByteArray("CREATE TABLE t(a); INSERT INTO t VALUES('o''neill')")
                             << QStringList{u"o'neill"_s} << QStringList{u"o'neill"_s};
}

void tst_evidence_copies::reads_with_its_log_and_alone()
{
    QFETCH(QByteArray, statements);
    const fixture made;
    build(made, statements);
    const QStringList before = QDir(made.source).entryList(QDir::Files);
    const QByteArray bytes = content_of(QFile::decodeName(made.path));
    {
        const evidence_copies copies = made.copies();
        QTEST(values(evidence_database(copies, log_use::with_log), "SELECT a FROM t ORDER BY a"), "with_log");
        QTEST(values(evidence_database(copies, log_use::alone), "SELECT a FROM t ORDER BY a"), "alone");
        QCOMPARE(copies.has_log(), QLatin1String(QTest::currentDataTag()) != "neither"_L1);
    }
    QCOMPARE(QDir(made.source).entryList(QDir::Files), before);
    QCOMPARE(content_of(QFile::decodeName(made.path)), bytes);
    QCOMPARE(QDir(made.scratch).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList());
}

void tst_evidence_copies::refuses_what_is_no_file_of_the_source_data()
{
    QTest::addColumn<QString>("reason");
    QTest::newRow("nothing") << u"No such file"_s;
    QTest::newRow("pipe") << u"named pipe"_s;
    QTest::newRow("directory") << u"directory"_s;
    QTest::newRow("link") << u"symbolic link"_s;
    QTest::newRow("link on the way") << u"out of the source"_s;
    QTest::newRow("too large") << u"larger than 100 bytes"_s;
    QTest::newRow("cancelled") << u"cancelled"_s;
}

void tst_evidence_copies::refuses_what_is_no_file_of_the_source()
{
    fixture made;
    evidence_limits limits;
    const QByteArray kind = QTest::currentDataTag();
    if (kind == "pipe") {
        QCOMPARE(::mkfifo(made.path.constData(), 0600), 0);
    } else if (kind == "directory") {
        QVERIFY(QDir().mkpath(QFile::decodeName(made.path)));
    } else if (kind == "link") {
        QCOMPARE(::symlink("x", made.path.constData()), 0);
    } else if (kind == "link on the way") {
        write_file(made.directory.filePath(u"elsewhere/db.sqlite"_s));
        QCOMPARE(::symlink("../elsewhere", QFile::encodeName(made.source + u"/way"_s).constData()), 0);
        made.path = QFile::encodeName(made.source + u"/way/db.sqlite"_s);
    } else if (kind != "nothing") {
        write_file(QFile::decodeName(made.path), QByteArray(101, 'x'));
        limits.largest_file = kind == "cancelled" ? 1000 : 100;
        limits.cancelled = [&kind] { return kind == "cancelled"; };
    }
    QFETCH(QString, reason);
    const QString message = made.failure(limits);
    QVERIFY2(message.contains(reason) && message.startsWith(QFile::decodeName(made.path)), qUtf8Printable(message));
}

void tst_evidence_copies::looks_at_a_table_before_it_is_read_data()
{
    QTest::addColumn<QByteArray>("statements");
    QTest::addColumn<bool>("exists");
    QTest::addColumn<QString>("refusal");
    QTest::newRow("table") << QByteArray("CREATE TABLE zaccount(Z_PK, ZUSERNAME)") << true << QString();
    QTest::newRow("absent") << QByteArray("CREATE TABLE other(a)") << false << QString();
    QTest::newRow("view") << QByteArray("CREATE TABLE o(a); CREATE VIEW ZACCOUNT AS SELECT a AS Z_PK FROM o") << false
                          << u"ZACCOUNT is a view, no table"_s;
    QTest::newRow("virtual") << QByteArray("CREATE VIRTUAL TABLE ZACCOUNT USING fts4(Z_PK)") << false
                             << u"ZACCOUNT is no ordinary table"_s;
    QTest::newRow("computed") << QByteArray("CREATE TABLE ZACCOUNT(Z_PK, b AS (zeroblob(900000000)))") << false
                              << u"ZACCOUNT has columns that are computed when they are read"_s;
    QTest::newRow("checked") << QByteArray("PRAGMA ignore_check_constraints=1; CREATE TABLE ZACCOUNT(Z_PK CHECK("
                                           "length(randomblob(900000000)) > Z_PK)); INSERT INTO ZACCOUNT VALUES(1)")
                             << true << QString();
}

void tst_evidence_copies::looks_at_a_table_before_it_is_read()
{
    QFETCH(QByteArray, statements);
    const fixture made;
    build(made, statements);
    const evidence_copies copies = made.copies();
    const evidence_database database(copies, log_use::with_log);
    const evidence_table& table = database.table("ZACCOUNT");
    QTEST(table.exists, "exists");
    QTEST(table.refusal, "refusal");
    QCOMPARE(table.damage, QString());
    QCOMPARE(table.has("Z_PK"), table.exists);
    if (QLatin1String(QTest::currentDataTag()) == "view"_L1) {
        QVERIFY(failure_of(database, "SELECT Z_PK FROM ZACCOUNT LIMIT 1").contains(u"prohibited"_s));
    }
}

/// SQLite alone deletes the file that such a journal names.
void tst_evidence_copies::a_forged_journal_deletes_nothing()
{
    const fixture made;
    build(made, "CREATE TABLE t(a); INSERT INTO t VALUES('old'); PRAGMA cache_size=1; BEGIN; UPDATE t SET a='new'; "
                "CREATE TABLE u(a); WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n LIMIT 900) "
                "INSERT INTO u SELECT randomblob(500) FROM n");
    const QString victim = write_file(made.directory.filePath(u"case.txt"_s));
    const QByteArray name = QFile::encodeName(victim);
    quint32 sum = 0;
    for (const char character : name) {
        sum += quint32(character);
    }
    const QString journal = QFile::decodeName(made.path + "-journal");
    const QByteArray honest = content_of(journal);
    QVERIFY(honest.startsWith(QByteArray::fromHex(super_journal_magic)));
    write_file(journal, honest + big_endian(0x40000000 / 4096 + 1) + name + big_endian(quint32(name.size())) +
                            big_endian(sum) + QByteArray::fromHex(super_journal_magic));
    const evidence_copies copies = made.copies();
    QCOMPARE(values(evidence_database(copies, log_use::with_log), "SELECT count(*) FROM t"), QStringList{u"1"_s});
    QVERIFY(QFile::exists(victim));
}

void tst_evidence_copies::a_tree_of_any_depth_is_checked()
{
    const fixture made;
    build(made, "PRAGMA page_size=512; CREATE TABLE ZACCOUNT(a); INSERT INTO ZACCOUNT VALUES(1)");
    QByteArray bytes = content_of(QFile::decodeName(made.path));
    const QByteArray leaf = bytes.mid(512, 512);
    bytes.truncate(512);
    constexpr quint32 pages = 190'000;
    for (quint32 page = 2; page < pages; ++page) {
        bytes += QByteArray::fromHex("0500000000020000") + big_endian(page + 1) + QByteArray(500, '\0');
    }
    bytes += leaf;
    bytes.replace(28, 4, big_endian(pages));
    write_file(QFile::decodeName(made.path), bytes);
    const evidence_copies copies = made.copies();
    const evidence_database database(copies, log_use::with_log);
    QVERIFY(!database.table("ZACCOUNT").damage.isEmpty());
    QVERIFY(failure_of(database, "SELECT a FROM ZACCOUNT").contains(u"malformed"_s));
}

void tst_evidence_copies::limits_hold_data()
{
    QTest::addColumn<QByteArray>("statement");
    QTest::addColumn<QString>("reason");
    QTest::newRow("time") << QByteArray(endless) + "max(i) FROM n" << u"takes too long"_s;
    QTest::newRow("memory") << QByteArray(endless) +
                                   "group_concat(hex(zeroblob(100000))) FROM (SELECT i FROM n LIMIT 500)"
                            << u"bytes of memory"_s;
    QTest::newRow("value") << QByteArray("SELECT a FROM t") << u"more than 20000000 bytes"_s;
    QTest::newRow("writing") << QByteArray("DELETE FROM t") << u"not authorized"_s;
    QTest::newRow("attaching") << QByteArray("ATTACH '/tmp/x.db' AS x") << u"not authorized"_s;
}

void tst_evidence_copies::limits_hold()
{
    const fixture made;
    build(made, "CREATE TABLE t(a); INSERT INTO t VALUES(zeroblob(30000000))");
    evidence_limits limits;
    limits.milliseconds = 2000;
    limits.heap_bytes = 10'000'000;
    limits.longest_value = 20'000'000;
    const evidence_copies copies = made.copies();
    const evidence_database database(copies, log_use::with_log, limits);
    QFETCH(QByteArray, statement);
    QFETCH(QString, reason);
    const QString message = failure_of(database, statement);
    QVERIFY2(message.contains(reason), qUtf8Printable(message));
}

void tst_evidence_copies::waiting_is_no_work()
{
    const fixture made;
    build(made, "CREATE TABLE t(a); INSERT INTO t VALUES(1), (2)");
    evidence_limits limits;
    limits.milliseconds = 500;
    const evidence_copies copies = made.copies();
    const evidence_database database(copies, log_use::with_log, limits);
    evidence_rows rows = database.select("SELECT a FROM t");
    QVERIFY(rows.next());
    QTest::qSleep(600);
    QVERIFY(rows.next());
}

void tst_evidence_copies::ends_between_two_rows_too()
{
    const fixture made;
    build(made, "CREATE TABLE t(a); INSERT INTO t VALUES(1), (2)");
    bool is_over = false;
    evidence_limits limits;
    limits.cancelled = [&is_over] { return is_over; };
    const evidence_copies copies = made.copies();
    const evidence_database database(copies, log_use::with_log, limits);
    evidence_rows rows = database.select("SELECT a FROM t");
    QVERIFY(rows.next());
    is_over = true;
    QVERIFY_THROWS_EXCEPTION(evidence_failure, rows.next());
}

QTEST_GUILESS_MAIN(tst_evidence_copies)
#include "tst_evidence_copies.moc"
