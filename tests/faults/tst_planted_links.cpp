#include "tests/common/files.h"
#include "tests/faults/trial_ground.h"

#include <QDate>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

#include <filesystem>

namespace {

const QString extractor = "Artifacts_Result/Apple_Mail_Extractor/";
const QString database = extractor + "Apple_Mail_Extractor.sqlite";

QString dated(const QString& user)
{
    return extractor + "Apple_Mail_Extractor_" + user + QDate::currentDate().toString("_MM-dd-yyyy");
}

} // namespace

/// Links that somebody planted where a result is to be written: nothing is written through them, neither into the
/// source nor elsewhere, and the refusal names link and target.
class tst_planted_links : public QObject
{
    Q_OBJECT

private slots:
    void nothing_is_written_through_a_link_data()
    {
        QTest::addColumn<QString>("place");
        QTest::addColumn<bool>("to_directory");
        for (const QString& place :
             {QString("Artifacts_Result"), extractor.chopped(1), extractor + "tmp", dated("anna"),
              dated("anna") + "/V10", dated("ben") + "/V9/A8098C1A-F86E-11DA-BD1A-00112444BE1E",
              QString("mail-extract"), QString("mail-extract/evidence"), QString("mail-extract/verifications")}) {
            QTest::newRow(qPrintable(place)) << place << true;
        }
        for (const QString& place : {database, database + "-journal", QString("mail-extract/log.txt"),
                                     QString("mail-extract/run.json"), QString("mail-extract/manifest.csv"),
                                     QString("mail-extract/SHA256SUMS"), QString("mail-extract/report.html"),
                                     QString("mail-extract/seal.txt"), QString("mail-extract/mail.sqlite")}) {
            QTest::newRow(qPrintable(place)) << place << false;
        }
    }

    void nothing_is_written_through_a_link()
    {
        QFETCH(QString, place);
        QFETCH(bool, to_directory);
        const trial_ground ground;
        const QString link = ground.result() + '/' + place;
        const QString elsewhere = QDir::cleanPath(ground.source.root() + "/../elsewhere");
        const QString mail = ground.source.root() + "Users/anna/Library/Mail";
        write_file(elsewhere + "/file", "theirs");
        const QStringList targets = to_directory ? QStringList{mail, mail + "/V10", elsewhere, elsewhere + "/new"}
                                                 : QStringList{mail + "/V10/MailData/4.plist", mail + "/new",
                                                               elsewhere + "/file", elsewhere + "/new"};
        for (const QString& target : targets) {
            ground.empty_result();
            QVERIFY(QDir().mkpath(QFileInfo(link).path()) && QFile::link(target, link));
            const trial_ending ending = ground.run(ground.run_arguments(), {});
            const QString case_text = target + ": " + QString::fromUtf8(ending.said.left(300));
            QVERIFY2(ground.source_state() == ground.source_before, qPrintable("source changed: " + case_text));
            QCOMPARE(QDir(elsewhere).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList("file"));
            QCOMPARE(content_of(elsewhere + "/file"), QByteArray("theirs"));
            QVERIFY2(ending.exit_code == 1, qPrintable(QString("%1, ").arg(ending.exit_code) + case_text));
            QVERIFY2(ending.said.contains(place.toUtf8()) && ending.said.contains(target.toUtf8()),
                     qPrintable(case_text));
        }
    }

    // What is written in place would change evidence of which it is another name.
    void a_second_name_of_evidence_is_refused_data()
    {
        QTest::addColumn<QString>("place");
        for (const QString& place : {database, QString("mail-extract/log.txt"), QString("mail-extract/lock")}) {
            QTest::newRow(qPrintable(place)) << place;
        }
    }

    void a_second_name_of_evidence_is_refused()
    {
        QFETCH(QString, place);
        const trial_ground ground;
        const QString name = ground.result() + '/' + place;
        QVERIFY(QDir().mkpath(QFileInfo(name).path()));
        std::filesystem::create_hard_link(
            (ground.source.root() + "Users/anna/Library/Accounts/Accounts4.sqlite").toStdString(), name.toStdString());
        const auto before = ground.source_state();
        for (const QStringList& further : {QStringList(), QStringList("--clear")}) {
            const trial_ending ending = ground.run(ground.run_arguments(further), {});
            QVERIFY(ground.source_state() == before);
            QVERIFY2(ending.exit_code == 1 && ending.said.contains(place.toUtf8()), ending.said);
        }
    }

    // A trigger would change each row as it is written.
    void a_planted_table_takes_no_rows_data()
    {
        QTest::addColumn<QStringList>("further");
        QTest::addColumn<int>("exit_code");
        QTest::newRow("first run") << QStringList() << 1;
        QTest::newRow("cleared") << QStringList("--clear") << 0;
    }

    void a_planted_table_takes_no_rows()
    {
        QFETCH(QStringList, further);
        const trial_ground ground;
        const QString path = ground.result() + '/' + database;
        QVERIFY(QDir().mkpath(QFileInfo(path).path()));
        {
            QSqlDatabase planted = QSqlDatabase::addDatabase("QSQLITE", "planted");
            planted.setDatabaseName(path);
            QVERIFY(planted.open());
            QSqlQuery query(planted);
            QVERIFY(query.exec("CREATE TABLE accounts(INT INTEGER PRIMARY KEY, bookmark, system_user, account, "
                               "account_type, files_copied, dest_path, os_scheme_display, source_count_name, "
                               "source_file, artifacts_relation_source_file)"));
            QVERIFY(query.exec("CREATE TRIGGER forger AFTER INSERT ON accounts BEGIN UPDATE accounts SET account = "
                               "'forged'; END"));
        }
        QSqlDatabase::removeDatabase("planted");
        const trial_ending ending = ground.run(ground.run_arguments(further), {});
        QTEST(ending.exit_code, "exit_code");
        QVERIFY(ending.exit_code == 0 ? !ground.content().rows.join('|').contains("forged")
                                      : ending.said.contains("forger"));
    }
};

QTEST_GUILESS_MAIN(tst_planted_links)
#include "tst_planted_links.moc"
