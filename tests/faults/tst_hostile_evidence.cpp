#include "tests/common/files.h"
#include "tests/faults/trial_ground.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

/// Evidence and results made by somebody who knows the program.
class tst_hostile_evidence : public QObject
{
    Q_OBJECT

private slots:
    void a_store_may_cost_so_much_and_no_more_data()
    {
        QTest::addColumn<QStringList>("schema");
        QTest::addColumn<bool>("is_sound");
        const QString columns = "Z_PK, ZIDENTIFIER, ZPARENTACCOUNT, ZUSERNAME";
        const QString endless = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) ";
        QTest::newRow("endless view") << QStringList{"CREATE VIEW ZACCOUNT(" + columns + ") AS " + endless +
                                                     "SELECT i, 'x' || i, NULL, 'u' || i FROM n"}
                                      << false;
        QTest::newRow("view of huge values")
            << QStringList{"CREATE VIEW ZACCOUNT(" + columns + ") AS " + endless +
                           "SELECT i, hex(zeroblob(200000000)), NULL, hex(zeroblob(200000000)) FROM n LIMIT 50"}
            << false;
        // Added when the rows are there, or this test would compute it.
        QTest::newRow("generated column")
            << QStringList{"CREATE TABLE ZACCOUNT(Z_PK INTEGER PRIMARY KEY, ZPARENTACCOUNT, ZUSERNAME)",
                           "INSERT INTO ZACCOUNT(Z_PK) VALUES (1), (2), (3), (4), (5), (6), (7), (8)",
                           // Added last: an insertion computes it, and the memory of this process counts in its
                           // child's.
                           "ALTER TABLE ZACCOUNT ADD COLUMN ZIDENTIFIER AS (hex(zeroblob(300000000)) || Z_PK)"}
            << false;
        QTest::newRow("sparse blobs") << QStringList{"CREATE TABLE ZACCOUNT(" + columns + ")",
                                                     "INSERT INTO ZACCOUNT VALUES (1, zeroblob(90000000), NULL, 'u')"}
                                      << true;
        QTest::newRow("very many rows")
            << QStringList{"CREATE TABLE ZACCOUNT(Z_PK INTEGER PRIMARY KEY, ZIDENTIFIER, ZPARENTACCOUNT, ZUSERNAME)",
                           "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 900000) "
                           "INSERT INTO ZACCOUNT SELECT i, 'identifier of ' || i, NULL, 'user ' || i FROM n"}
            << true;
        // Each takes long to make sense of, and there are many.
        const QString bomb = QString::fromLatin1(list_of_lists(200'000).toHex());
        QTest::newRow("archives") << QStringList{"CREATE TABLE ZACCOUNT(" + columns + ")",
                                                 "INSERT INTO ZACCOUNT VALUES (1, 'i', NULL, 'u')",
                                                 "CREATE TABLE ZACCOUNTPROPERTY(ZOWNER, ZKEY, ZVALUE)",
                                                 "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
                                                 "WHERE i < 120) INSERT INTO ZACCOUNTPROPERTY SELECT 1, 'Hostname', "
                                                 "x'" +
                                                     bomb + "' FROM n"}
                                  << false;
    }

    void a_store_may_cost_so_much_and_no_more()
    {
        QFETCH(QStringList, schema);
        QFETCH(bool, is_sound);
        const trial_ground ground;
        make_store(ground.source.root() + "Users/anna/Library/Accounts/Accounts4.sqlite", schema);
        const auto before = ground.source_state();
        const qint64 largest_before = largest_child();
        QElapsedTimer timer;
        timer.start();
        const trial_ending ending = ground.run(ground.run_arguments(), {});
        QVERIFY2(timer.elapsed() < 15'000LL * MEMORY_FACTOR, qPrintable(QString("%1 ms").arg(timer.elapsed())));
        const qint64 largest = largest_child();
        QVERIFY2(largest == largest_before || largest < 400'000LL * MEMORY_FACTOR,
                 qPrintable(QString("%1 kB").arg(largest)));
        QVERIFY(ground.source_state() == before);
        QVERIFY(ending.exit_code >= 0);
        QVERIFY(is_sound || (ending.exit_code == 3 && ending.said.contains("Accounts4.sqlite")));
    }

    void a_forged_result_is_refused_in_time_data()
    {
        QTest::addColumn<QString>("database");
        QTest::addColumn<QStringList>("commands");
        QTest::newRow("mail.sqlite") << "/mail-extract/mail.sqlite"
                                     << QStringList{"accounts", "completeness", "report"};
        QTest::newRow("table of accounts")
            << "/Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor.sqlite" << QStringList{"show", "report"};
    }

    void a_forged_result_is_refused_in_time()
    {
        QFETCH(QString, database);
        QFETCH(QStringList, commands);
        const trial_ground ground;
        QCOMPARE(ground.run(ground.run_arguments(), {}).exit_code, 0);
        QVERIFY(QFile::remove(ground.result() + database));
        const QString endless = " AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n";
        make_store(ground.result() + database,
                   {"CREATE VIEW accounts(id)" + endless, "CREATE VIEW completeness_stores(id)" + endless});
        for (const QString& command : commands) {
            const trial_ending ending = ground.run({command, "--result", ground.result()}, {});
            QVERIFY2(ending.exit_code == 1 || ending.exit_code == 3, qPrintable(command));
            QVERIFY2(ending.errors.contains(QFileInfo(database).fileName().toUtf8()), ending.errors);
        }
    }

    void a_name_makes_no_line_of_its_own()
    {
        const trial_ground ground;
        const QString evil = "V9/IMAP-x\n[2026-Jan-01T00-00-00][KAVRO_DESK] FAILED\x1b[2J@h";
        ground.source.add_mail("ben", evil + "/1.emlx");
        const trial_ending ending = ground.run(ground.run_arguments(), {});
        QVERIFY(ending.exit_code == 0 || ending.exit_code == 3);
        for (const QString& product : {QString("log.txt"), QString("report.html"), QString("manifest.csv")}) {
            const QByteArray content = content_of(ground.result() + "/mail-extract/" + product);
            QVERIFY2(!content.contains("\n[2026-Jan-01T00-00-00]") && !content.contains('\x1b'), qPrintable(product));
        }
        QProcess show;
        show.start(MAIL_EXTRACT_PROGRAM, {"show", "--result", ground.result()});
        QVERIFY(show.waitForFinished());
        const QByteArray said = show.readAllStandardOutput() + ending.said;
        QVERIFY(!said.contains("\n[2026") && !said.contains('\x1b'));
    }

    void no_cell_is_a_formula()
    {
        const trial_ground ground;
        ground.source.add_mail("ben", "V9/IMAP-=cmd(A1)@h/1.emlx");
        QCOMPARE(ground.run(ground.run_arguments(), {}).exit_code, 0);
        for (const char* command : {"show", "accounts"}) {
            QProcess printing;
            printing.start(MAIL_EXTRACT_PROGRAM, {command, "--result", ground.result(), "--format", "csv"});
            QVERIFY(printing.waitForFinished());
            const QByteArray cells = '\n' + printing.readAllStandardOutput().replace(',', '\n').replace('"', "");
            QVERIFY2(cells.contains("'=cmd") && !cells.contains("\n=cmd"), cells.constData());
        }
    }

    void what_the_copies_have_more_or_less_is_a_finding_data()
    {
        QTest::addColumn<bool>("planted");
        QTest::newRow("copy without source") << true;
        QTest::newRow("source without its user") << false;
    }

    void what_the_copies_have_more_or_less_is_a_finding()
    {
        QFETCH(bool, planted);
        const trial_ground ground;
        QCOMPARE(ground.run(ground.run_arguments(), {}).exit_code, 0);
        if (planted) {
            const QString folders = ground.result() + "/Artifacts_Result/Apple_Mail_Extractor/";
            const QString dated = QDir(folders).entryList({"*_ben_*"}).value(0);
            write_file(folders + dated + "/V9/POP-ben@pop.example.org/planted.emlx");
        } else {
            QVERIFY(QDir(ground.source.root() + "Users/ben").removeRecursively());
        }
        const trial_ending ending = ground.run(ground.verify_arguments(), {});
        QCOMPARE(ending.exit_code, 3);
        QVERIFY(ending.said.contains(planted ? "planted.emlx" : "ben"));
    }

    void a_tampered_record_leads_nowhere()
    {
        const trial_ground ground;
        QCOMPARE(ground.run(ground.run_arguments(), {}).exit_code, 0);
        const QString path = ground.result() + "/mail-extract/run.json";
        const QByteArray record = content_of(path);
        for (const char* name : {"../../Shared", "/etc", "..", "ben/../anna"}) {
            write_file(path, QByteArray(record).replace("\"ben\"", '"' + QByteArray(name) + '"'));
            for (const QStringList& command : {ground.verify_arguments(), {"report", "--result", ground.result()}}) {
                const trial_ending ending = ground.run(command, {});
                // Both work without the record, and say so.
                QVERIFY2(ending.exit_code == 3 && ending.said.contains("no run record"),
                         qPrintable(QString("%1 with %2: %3").arg(command[0], name).arg(ending.exit_code)));
            }
        }
        QVERIFY(ground.source_state() == ground.source_before);
    }

    void times_out_of_range_are_told_apart()
    {
        const trial_ground ground;
        const QString folder = "Users/ben/Library/Mail/V9/POP-ben@pop.example.org/";
        // Both beyond the year 2262.
        for (const auto& [name, seconds] :
             {std::pair{"future", 9'300'000'000LL}, std::pair{"later", 9'400'000'000LL}}) {
            const QByteArray path = QFile::encodeName(ground.source.add_file(folder + name));
            const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, timespec{seconds, 0}};
            struct stat set = {};
            if (::utimensat(AT_FDCWD, path.constData(), times.data(), 0) != 0 || ::stat(path.constData(), &set) != 0 ||
                set.st_mtim.tv_sec != seconds) {
                QSKIP("the file system does not keep such times");
            }
        }
        ground.run(ground.run_arguments(), {});
        QStringList shown;
        for (const QByteArray& line : content_of(ground.result() + "/mail-extract/manifest.csv").split('\n')) {
            if (line.contains("/future") || line.contains("/later")) {
                shown.append(QString::fromUtf8(line.split(',').value(4)));
            }
        }
        QCOMPARE(shown.size(), 2);
        QCOMPARE(shown.removeDuplicates(), 0);
    }

private:
    /// kB of memory that the largest of all programs run so far had.
    static qint64 largest_child()
    {
        rusage usage = {};
        ::getrusage(RUSAGE_CHILDREN, &usage);
        return usage.ru_maxrss;
    }

    /// A binary property list: an array of as many references to itself.
    static QByteArray list_of_lists(quint32 count)
    {
        QByteArray list = "bplist00" + QByteArray("\xaf\x12", 2);
        const auto append_number = [&list](quint64 number, int bytes) {
            for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8) {
                list += char(number >> shift);
            }
        };
        append_number(count, 4);
        for (quint32 index = 0; index < count; ++index) {
            append_number(1 + index % 2, 1);
        }
        const qsizetype second = list.size();
        list += QByteArray("\xa0\xa0", 2);
        const qsizetype table = list.size();
        append_number(8, 4);
        append_number(quint64(second), 4);
        append_number(quint64(second) + 1, 4);
        list += QByteArray("\0\0\0\0\0\0\x04\x01", 8);
        append_number(3, 8);
        append_number(0, 8);
        append_number(quint64(table), 8);
        return list;
    }

    static void make_store(const QString& path, const QStringList& schema)
    {
        for (const char* companion : {"", "-wal", "-shm"}) {
            QFile::remove(path + companion);
        }
        {
            QSqlDatabase store = QSqlDatabase::addDatabase("QSQLITE", "hostile");
            store.setDatabaseName(path);
            QVERIFY(store.open());
            QSqlQuery query(store);
            for (const QString& statement : schema) {
                QVERIFY2(query.exec(statement), qPrintable(statement));
            }
        }
        QSqlDatabase::removeDatabase("hostile");
    }
};

QTEST_GUILESS_MAIN(tst_hostile_evidence)
#include "tst_hostile_evidence.moc"
