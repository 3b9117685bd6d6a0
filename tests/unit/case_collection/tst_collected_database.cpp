#include "host/case_collection/collected_csv.h"
#include "host/case_collection/collected_database.h"
#include "host/cases/shared_files.h"
#include "host/result/result_paths.h"
#include "host/result/seal.h"
#include "tests/common/files.h"

#include <QHash>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

namespace {

void execute(const QString& path, const QStringList& statements)
{
    QDir().mkpath(QFileInfo(path).path());
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "part");
        database.setDatabaseName(path);
        QVERIFY(database.open());
        for (const QString& statement : statements) {
            QSqlQuery query(database);
            QVERIFY2(query.exec(statement), qPrintable(statement));
        }
    }
    QSqlDatabase::removeDatabase("part");
}

/// Sealed results with databases of any kind: whoever can change a result may seal it too.
class sealed_results
{
public:
    overview_entry add(int index, const QStringList& of_result, const QStringList& of_program)
    {
        const result_paths result(directory.filePath(QString::number(index)));
        execute(result.database(), of_result);
        execute(result.path(product::mail_database), of_program);
        write_file(result.path(product::manifest));
        write_file(result.path(product::run_record));
        const result_seal seal = seal_result(result);
        overview_entry entry;
        entry.status.attempt.seal_sha256 = digest_to_hex(seal.root);
        entry.status.attempt.manifest_sha256 = sha256_in_seal(seal, result, result.path(product::manifest));
        entry.source.index = index;
        entry.status.state = source_state::whole;
        entry.status.result = result.root();
        overview.entries.append(entry);
        return entry;
    }
    QString made() const
    {
        QDir(directory.path()).mkdir("made");
        return directory.filePath("made");
    }

    case_overview overview;

private:
    QTemporaryDir directory;
};

QString rows_of(const collected_database& database, const QString& statement)
{
    QStringList rows;
    QSqlQuery query = database.query(statement);
    while (query.next()) {
        rows.append(query.value(0).toString());
    }
    return rows.join(' ');
}

const QString accounts = "CREATE TABLE accounts(account VARCHAR(9), dest_path, \"INT\" INTEGER PRIMARY KEY)";

} // namespace

class tst_collected_database : public QObject
{
    Q_OBJECT

private slots:
    void brings_tables_together()
    {
        sealed_results results;
        const auto first =
            results.add(1, {accounts, "INSERT INTO accounts VALUES('A@example.org', '/x', 1)"},
                        {"CREATE TABLE accounts(id, identifier)", "CREATE TABLE \"odd \"\" name\"(a, b BLOB)",
                         "INSERT INTO \"odd \"\" name\" VALUES(-1, x'00ff')", "CREATE VIEW v AS SELECT 1",
                         "INSERT INTO accounts VALUES(1, 'abc')"});
        const auto second = results.add(
            2,
            {accounts, "ALTER TABLE accounts ADD COLUMN more TEXT",
             "INSERT INTO accounts VALUES('a@EXAMPLE.org', '/x/6F9619FF-8B86-D011-B42D-00CF4FC964FF', 1, '=m')"},
            {"CREATE TABLE accounts(id, identifier, address)", "INSERT INTO accounts VALUES(1, 'ABC', 'x')"});
        const QString made = results.made();
        collected_database all(made);
        QCOMPARE(all.add_result(copied_result(first, made)), QString());
        QCOMPARE(all.add_result(copied_result(second, made)), QString());
        all.finish(results.overview, {});
        QCOMPARE(rows_of(all, "SELECT source_index || coalesce(more, '-') FROM accounts"), "1- 2=m");
        QCOMPARE(rows_of(all, "SELECT source_index || identifier || coalesce(address, '-') FROM mail_accounts"),
                 "1abc- 2ABCx");
        QCOMPARE(rows_of(all, "SELECT source_index || hex(b) FROM \"odd \"\" name\""), "100FF");
        QCOMPARE(rows_of(all, "SELECT kind || source_index || lower(value) FROM accounts_across_sources"),
                 "address1a@example.org address2a@example.org identifier1abc identifier2abc");
        QCOMPARE(rows_of(all, "SELECT count(*) FROM sqlite_master WHERE type = 'index' AND sql LIKE '%(source_index)'"),
                 "5");
        write_collected_csv(all, made);
        QVERIFY(content_of(made + "/odd---name.csv").contains("1,-1,0x00ff"));
        QVERIFY(content_of(made + "/accounts.csv").contains("'=m"));
    }

    void rows_that_point_nowhere_are_named()
    {
        sealed_results results;
        const QString rows = "CREATE TABLE accounts(\"INT\" INTEGER PRIMARY KEY, system_user, account, dest_path, "
                             "files_copied)";
        const QString place = "/Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor_ann_0%1-01-2026/V9/A";
        const QString row = "INSERT INTO accounts VALUES(%1, 'ann', 'a', '%2', '%3')";
        const overview_entry entry =
            results.add(1,
                        {rows, row.arg(1).arg(place.arg(1)).arg(5), row.arg(2).arg(place.arg(2)).arg(5),
                         row.arg(3).arg("/x").arg(5), row.arg(4).arg("/y").arg(0), row.arg(5).arg("").arg(5)},
                        {"CREATE TABLE t(y)"});
        QVERIFY(QDir(entry.status.result).mkpath(place.arg(1).mid(1)));
        const QString made = results.made();
        collected_database all(made);
        QCOMPARE(all.add_result(copied_result(entry, made)), QString());
        QCOMPARE(rows_of(all, "SELECT \"INT\" || is_lost || coalesce(place, '-') FROM misplaced_accounts"),
                 "20" + place.arg(1) + " 31-");
        QVERIFY2(all.misplaced().value(1).text().contains("the first of them /x; "),
                 qPrintable(all.misplaced().value(1).text()));
        all.finish(results.overview, {});
        QCOMPARE(rows_of(all, "SELECT dest_path FROM accounts WHERE \"INT\" = 2"), place.arg(2));
    }

    void takes_nothing_of_another_program_data()
    {
        QTest::addColumn<QStringList>("of_result");
        QTest::addColumn<QStringList>("of_program");
        QTest::addColumn<QString>("reason");
        const QStringList none{"CREATE TABLE t(x)"};
        QTest::newRow("no accounts") << none << none << "no table of accounts";
        QTest::newRow("a table of ours") << QStringList{accounts, "CREATE TABLE Sources(x)"} << none
                                         << "a table \"Sources\"";
        QTest::newRow("in the other database")
            << QStringList{accounts} << QStringList{"CREATE TABLE accounts_across_sources(x)"}
            << "a table \"accounts_across_sources\"";
        QTest::newRow("a column of ours") << QStringList{accounts} << QStringList{"CREATE TABLE t(Source_Index)"}
                                          << "has a column source_index already";
    }
    void takes_nothing_of_another_program()
    {
        QFETCH(QStringList, of_result);
        QFETCH(QStringList, of_program);
        QFETCH(QString, reason);
        sealed_results results;
        const auto sound =
            results.add(1, {accounts, "INSERT INTO accounts VALUES('a', 'b', 1)"}, {"CREATE TABLE t(y)"});
        const auto other = results.add(2, of_result + QStringList{"CREATE TABLE before(x)"}, of_program);
        const QString made = results.made();
        collected_database all(made);
        QCOMPARE(all.add_result(copied_result(sound, made)), QString());
        const QString problem = all.add_result(copied_result(other, made));
        QVERIFY2(problem.contains(reason), qPrintable(problem));
        all.finish(results.overview, {{2, problem}});
        QCOMPARE(rows_of(all, "SELECT source_index FROM accounts"), "1");
        QCOMPARE(rows_of(all, "SELECT is_collected FROM sources"), "1 0");
    }

    void damaged_pages_are_noticed()
    {
        sealed_results results;
        const auto sound =
            results.add(1, {accounts, "INSERT INTO accounts VALUES('a', 'b', 1)"}, {"CREATE TABLE t(y)"});
        const auto damaged = results.add(2, {accounts}, {"CREATE TABLE t(y)"});
        const result_paths result(damaged.status.result);
        write_file(result.database(), content_of(result.database()).left(100) + QByteArray(8000, '\xff'));
        QFile::remove(result.path(product::seal));
        seal_result(result);
        const QString made = results.made();
        collected_database all(made);
        QVERIFY(!all.add_result(copied_result(damaged, made)).isEmpty());
        QCOMPARE(all.add_result(copied_result(sound, made)), QString());
        all.finish(results.overview, {});
        QCOMPARE(rows_of(all, "SELECT source_index FROM accounts"), "1");
    }
};

QTEST_GUILESS_MAIN(tst_collected_database)
#include "tst_collected_database.moc"
