#include "tests/extraction/evidence_source.h"
#include "tests/host/driven_program.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLibraryInfo>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <filesystem>

namespace {

const QString anna_folder = QStringLiteral("6F9619FF-8B86-D011-B42D-00CF4FC964FF");
const QString ben_folder = QStringLiteral("A8098C1A-F86E-11DA-BD1A-00112444BE1E");

/// anna has mail in V10 and nothing older, ben in V9 and V8; each has an account store that knows one folder.
void add_two_users(const evidence_source& source)
{
    source.add_mail("anna", "V10/" + anna_folder + "/1.emlx|V10/IMAP-work@imap.example.org/2.emlx");
    source.add_store("anna", "1:" + anna_folder + "::anna@example.com");
    source.add_mail("ben", "V9/" + ben_folder + "/1.emlx|V8/" + ben_folder + "/2.emlx|V8/.hidden");
    source.add_store("ben", "1:" + ben_folder + "::ben@example.com");
    source.add_file("Users/Shared/Library/Mail/V9/IMAP-shared/1.emlx");
    source.add_file("Users/.ghost/Library/Mail/V9/IMAP-ghost/1.emlx");
}

program_result run(const evidence_source& source, const QStringList& further = {})
{
    return run_program(QStringList{"run", "--source", source.root(), "--result", source.result()} + further);
}

/// The rows as "user/account/type/source", in their order.
QStringList rows_of(const QString& result)
{
    const program_result shown = run_program({"show", "--result", result, "--format", "json"});
    QStringList rows;
    for (const QJsonValue row : QJsonDocument::fromJson(shown.output).array()) {
        rows.append(QStringList{row["system_user"].toString(), row["account"].toString(),
                                row["account_type"].toString(), row["source_count_name"].toString()}
                        .join('/'));
    }
    return rows;
}

QByteArray log_of(const evidence_source& source)
{
    QFile log(source.result() + "/mail-extract/log.txt");
    return log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
}

qsizetype files_below(const QString& directory)
{
    std::error_code ignored;
    const std::filesystem::recursive_directory_iterator entries(directory.toStdString(), ignored);
    return std::count_if(begin(entries), end(entries), [](const auto& entry) { return entry.is_regular_file(); });
}

} // namespace

class tst_run : public QObject
{
    Q_OBJECT

private slots:
    void refusals_data();
    void refusals();
    void result_reached_through_a_link_into_the_source();
    void one_object_a_user_or_one_for_all();
    void chosen_users_and_source_number();
    void rows_already_there();
    void failures_of_the_log();
    void user_that_no_path_leads_to();
    void log_of_the_other_form_is_set_aside();
    void interrupted_copy();
    void demo();
};

void tst_run::refusals_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exit_code");
    QTest::addColumn<QString>("message");

    const QString a_library = QLibraryInfo::path(QLibraryInfo::LibrariesPath) + "/libQt6Core.so.6";
    QTest::newRow("no command") << QStringList{} << 2 << "subcommand";
    QTest::newRow("unknown option") << QStringList{"run", "--nonsense"} << 2 << "--source";
    QTest::newRow("result missing") << QStringList{"run", "--source", "SOURCE"} << 2 << "--result";
    QTest::newRow("unknown engine") << QStringList{"run", "--source", "SOURCE", "--result", "RESULT", "--engine", "x"}
                                    << 2 << "--engine";
    QTest::newRow("clear and append") << QStringList{"run",    "--source", "SOURCE",  "--result",
                                                     "RESULT", "--clear",  "--append"}
                                      << 2 << "--append";
    QTest::newRow("no source") << QStringList{"run", "--source", "SOURCE/absent", "--result", "RESULT"} << 1
                               << "SOURCE/absent: no such directory";
    QTest::newRow("source is a file") << QStringList{"run", "--source", "SOURCE/a\nfile", "--result", "RESULT"} << 1
                                      << "SOURCE/a\\nfile: not a directory";
    QTest::newRow("result in source") << QStringList{"run", "--source", "SOURCE", "--result", "SOURCE/a/b"} << 1
                                      << "SOURCE/a/b: it lies inside the source";
    QTest::newRow("log in source") << QStringList{"run",    "--source", "SOURCE",    "--result",
                                                  "RESULT", "--log",    "SOURCE/log"}
                                   << 1 << "SOURCE/log: it lies inside the source";
    QTest::newRow("no plug-in") << QStringList{"run",    "--source", "SOURCE",          "--result",
                                               "RESULT", "--plugin", "SOURCE/absent.so"}
                                << 1 << "SOURCE/absent.so: no such file";
    QTest::newRow("plug-in is no library")
        << QStringList{"run", "--source", "SOURCE", "--result", "RESULT", "--plugin", "SOURCE/a\nfile"} << 1
        << "cannot load the plug-in SOURCE/a\\nfile: ";
    if (QFile::exists(a_library)) {
        QTest::newRow("library is no plug-in")
            << QStringList{"run", "--source", "SOURCE", "--result", "RESULT", "--plugin", a_library} << 1
            << "create_object";
    }
    QTest::newRow("unknown user") << QStringList{"run", "--source", "SOURCE", "--result", "RESULT", "--user", "Ben"}
                                  << 1 << "Ben";
    QTest::newRow("no Mail directory") << QStringList{"run",    "--source", "SOURCE", "--result",
                                                      "RESULT", "--user",   "nomail"}
                                       << 4 << "no Mail directory found below SOURCE/Users";
    QTest::newRow("no users") << QStringList{"run", "--source", "SOURCE/Users", "--result", "RESULT"} << 4
                              << "no Mail directory found below SOURCE/Users/Users";
}

void tst_run::refusals()
{
    const evidence_source source;
    add_two_users(source);
    source.add_file("a\nfile");
    source.add_file("Users/nomail/file");
    const QString root = QDir::cleanPath(source.root());
    const auto named = [&](QString text) { return text.replace("SOURCE", root).replace("RESULT", source.result()); };
    QFETCH(QStringList, arguments);
    QFETCH(int, exit_code);
    QFETCH(QString, message);
    for (QString& argument : arguments) {
        argument = named(argument);
    }
    const qsizetype files = files_below(root);

    const program_result refused = run_program(arguments);
    QCOMPARE(refused.exit_code, exit_code);
    QVERIFY2(refused.errors.contains(named(message).toUtf8()), refused.errors);
    QVERIFY(refused.output.isEmpty());
    QVERIFY2(exit_code == 2 || refused.errors.count('\n') == 1, refused.errors);
    QVERIFY(!QFile::exists(source.result() + "/Artifacts_Result"));
    QCOMPARE(files_below(root), files);
}

void tst_run::result_reached_through_a_link_into_the_source()
{
    const evidence_source source;
    add_two_users(source);
    QVERIFY(QDir().mkpath(source.result()));
    QVERIFY(QFile::link(source.root() + "Users", source.result() + "/link"));
    const program_result refused =
        run_program({"run", "--source", source.root(), "--result", source.result() + "/link/new/result"});
    QCOMPARE(refused.exit_code, 1);
    QVERIFY2(refused.errors.contains("inside the source"), refused.errors);

    QVERIFY(QFile::link(source.root() + "dangling", source.result() + "/log"));
    QCOMPARE(run(source, {"--log", source.result() + "/log"}).exit_code, 1);
    QVERIFY(!QFile::exists(source.root() + "dangling"));
}

void tst_run::one_object_a_user_or_one_for_all()
{
    const evidence_source source;
    add_two_users(source);
    const QString ben = "ben/ben@example.com//Source1";
    const QString anna = "anna/anna@example.com//Source1";
    const QString anna_imap = "anna/work@example.org/IMAP/Source1";

    const program_result whole = run(source, {"--json", "--engine", "live"});
    QVERIFY2(whole.exit_code == 0 && whole.errors.isEmpty(), whole.errors);
    // The second Mail version of the second user has his own account store too.
    QCOMPARE(rows_of(source.result()), (QStringList{anna, anna_imap, ben, ben}));
    QVERIFY(log_of(source).contains("][KAVRO_LIVE]["));
    QVERIFY(!log_of(source).contains("FAILED"));
    const QJsonObject summary = QJsonDocument::fromJson(whole.output).object();
    const QJsonValue first_user = summary["users"].toArray().at(0);
    QCOMPARE(first_user["name"].toString(), "anna");
    QCOMPARE(first_user["accounts"]["account_store"].toInt(), 1);
    QCOMPARE(first_user["accounts"]["mail_directory"].toInt(), 1);
    QCOMPARE(first_user["files_copied"].toInt(), 2);
    QCOMPARE(summary["exit_code"].toInt(-1), 0);

    const evidence_source as_suite;
    add_two_users(as_suite);
    const program_result one_run = run(as_suite, {"--as-suite"});
    QVERIFY2(one_run.exit_code == 0 && one_run.errors.isEmpty(), one_run.errors);
    QVERIFY2(one_run.output.contains("ben"), one_run.output);
    const QStringList rows = rows_of(as_suite.result());
    QVERIFY2(!rows.contains(anna), "V10 is looked into without being asked for");
    QVERIFY(rows.contains(anna_imap) && rows.contains(ben));
    QCOMPARE(log_of(as_suite).count("pub_extract_artifacts]:-- START"), 1);
}

void tst_run::chosen_users_and_source_number()
{
    const evidence_source source;
    add_two_users(source);
    QCOMPARE(run(source, {"--user", "ben", "--source-number", "7", "--quiet"}).exit_code, 0);
    QCOMPARE(rows_of(source.result()), (QStringList{"ben/ben@example.com//Source7", "ben/ben@example.com//Source7"}));
    const QStringList folders =
        QDir(source.result() + "/Artifacts_Result/Apple_Mail_Extractor").entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    QCOMPARE(folders.size(), 1);
    QVERIFY(folders.first().startsWith("Apple_Mail_Extractor_ben_"));

    QCOMPARE(run(source, {"--clear", "--scheme", "winOS"}).exit_code, 4);
    QCOMPARE(rows_of(source.result()), QStringList());
}

void tst_run::rows_already_there()
{
    const evidence_source source;
    add_two_users(source);
    QCOMPARE(run(source).exit_code, 0);
    const program_result refused = run(source);
    QCOMPARE(refused.exit_code, 1);
    QVERIFY2(refused.errors.contains(".sqlite already holds accounts") && refused.errors.contains("--clear"),
             refused.errors);
    const program_result appended = run(source, {"--append", "--json"});
    QCOMPARE(appended.exit_code, 0);
    QCOMPARE(rows_of(source.result()).size(), 8);
    // The summary tells of this run's rows.
    const QJsonArray users = QJsonDocument::fromJson(appended.output)["users"].toArray();
    QCOMPARE(users.at(1)["accounts"]["account_store"].toInt(), 2);
    QCOMPARE(run(source, {"--clear"}).exit_code, 0);
    QCOMPARE(rows_of(source.result()).size(), 4);
}

void tst_run::failures_of_the_log()
{
    const evidence_source source;
    add_two_users(source);
    source.add_file("Users/anna/Library/Accounts/Accounts4.sqlite", "this is no database at all, however long it is");
    for (const QStringList& log : {QStringList{}, QStringList{"--log-encrypted"}}) {
        const program_result failed = run(source, QStringList{"--clear"} + log);
        QCOMPARE(failed.exit_code, 3);
        QVERIFY2(failed.errors.contains("failures in the log") && failed.errors.contains("FAILED"), failed.errors);
        QVERIFY2(failed.output.contains("ben"), "the rest goes on");
    }
    // Failures of earlier runs in the same log are not this run's.
    QCOMPARE(run(source, {"--clear", "--log-encrypted", "--user", "ben"}).exit_code, 0);
}

void tst_run::user_that_no_path_leads_to()
{
    const evidence_source source;
    add_two_users(source);
    std::error_code refused;
    std::filesystem::create_directory(source.root().toStdString() + "Users/b\xff"
                                                                    "d",
                                      refused);
    if (refused) {
        QSKIP("this file system takes no names that are not UTF-8");
    }
    const program_result told = run(source);
    std::filesystem::remove_all(source.root().toStdString() + "Users/b\xff"
                                                              "d");
    QCOMPARE(told.exit_code, 3);
    QVERIFY2(told.errors.contains("not UTF-8"), told.errors);
    QCOMPARE(rows_of(source.result()).size(), 4);
}

void tst_run::log_of_the_other_form_is_set_aside()
{
    const evidence_source source;
    add_two_users(source);
    QCOMPARE(run(source).exit_code, 0);
    const QByteArray plain = log_of(source);
    const program_result enciphered = run(source, {"--append", "--log-encrypted"});
    QCOMPARE(enciphered.exit_code, 0);
    QVERIFY2(enciphered.errors.contains("log.txt.1"), enciphered.errors);
    QFile kept(source.result() + "/mail-extract/log.txt.1");
    QVERIFY(kept.open(QIODevice::ReadOnly));
    QCOMPARE(kept.readAll(), plain);

    const program_result deciphered = run_program({"decipher", source.result() + "/mail-extract/log.txt"});
    QCOMPARE(deciphered.exit_code, 0);
    const auto without_times = [](const QByteArray& log) {
        QByteArrayList lines = log.split('\n');
        for (QByteArray& line : lines) {
            line = line.mid(line.indexOf(']') + 1);
        }
        return lines;
    };
    QCOMPARE(without_times(deciphered.output), without_times(plain));
}

void tst_run::interrupted_copy()
{
    const evidence_source source;
    const QString first = source.add_file("Users/anna/Library/Mail/V9/m.mbox/0.emlx", QByteArray(4096, 'x'));
    constexpr int files = 5'000;
    for (int i = 1; i < files; ++i) {
        std::filesystem::create_hard_link(first.toStdString(),
                                          (QFileInfo(first).path() + "/%1.emlx").arg(i).toStdString());
    }
    QProcess program;
    program.start(MAIL_EXTRACT_PROGRAM, {"run", "--source", source.root(), "--result", source.result()});
    const QString copies = source.result() + "/Artifacts_Result";
    QTRY_VERIFY_WITH_TIMEOUT(files_below(copies) > 10, 20'000);
    QCOMPARE(::kill(static_cast<pid_t>(program.processId()), SIGINT), 0);
    const program_result cancelled = ending_of(program);
    QCOMPARE(cancelled.exit_code, 130);
    QVERIFY2(cancelled.errors.contains("cancelled"), cancelled.errors);
    const qsizetype copied = files_below(copies);
    QVERIFY2(copied > 10 && copied < files, qPrintable(QString::number(copied)));
    QVERIFY(!QFile::exists(source.result() + "/mail-extract/manifest.csv"));
    QFile record(source.result() + "/mail-extract/run.json");
    QVERIFY(record.open(QIODevice::ReadOnly) && record.readAll().contains("\"status\": \"cancelled\""));
}

void tst_run::demo()
{
    const QTemporaryDir folder;
    const QString place = folder.filePath("demo");
    const program_result first = run_program({"demo", place});
    QVERIFY2(first.exit_code == 0, first.errors);
    QVERIFY2(first.output.contains("folder") && first.output.contains("POP") && first.output.contains("IMAP"),
             first.output);
    const QStringList rows = rows_of(place + "/result");
    QVERIFY(rows.size() > 10);

    QFile own(place + "/notes.txt");
    QVERIFY(own.open(QIODevice::WriteOnly));
    QCOMPARE(run_program({"demo", place}).exit_code, 0);
    QCOMPARE(rows_of(place + "/result"), rows);
    QVERIFY(own.exists());

    const program_result refused = run_program({"demo", folder.path()});
    QCOMPARE(refused.exit_code, 1);
    QVERIFY2(refused.errors.contains("not empty"), refused.errors);
}

QTEST_GUILESS_MAIN(tst_run)
#include "tst_run.moc"
