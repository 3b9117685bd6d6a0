#include "tests/common/files.h"
#include "tests/common/unprivileged.h"
#include "tests/program/started_run.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QLibraryInfo>
#include <QTest>

#include <cstdlib>

#include <sys/resource.h>

namespace fs = std::filesystem;

namespace {

const QString anna_folder = "6F9619FF-8B86-D011-B42D-00CF4FC964FF";
const QString ben_folder = "A8098C1A-F86E-11DA-BD1A-00112444BE1E";

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

/// The rows as "user/account/type/source", in their order.
QStringList rows_of(const QString& result)
{
    QStringList rows;
    for (const QJsonValue row : run_program({"show", "--result", result, "--raw", "--format", "json"}).json().array()) {
        rows.append(QStringList{row["system_user"].toString(), row["account"].toString(),
                                row["account_type"].toString(), row["source_count_name"].toString()}
                        .join('/'));
    }
    return rows;
}

} // namespace

class tst_run : public QObject
{
    Q_OBJECT

private slots:
    void refusals_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<int>("exit_code");
        QTest::addColumn<QString>("message");
        const auto row = [](const char* name, const QString& arguments, int exit_code, const QString& message) {
            QTest::newRow(name) << arguments << exit_code << message;
        };
        const QString run = "run --source SOURCE --result RESULT ";
        const QString a_library = QLibraryInfo::path(QLibraryInfo::LibrariesPath) + "/libQt6Core.so.6";
        row("no command", "", 2, "type a command");
        row("unknown engine", run + "--engine x", 2, "--engine");
        row("clear and append", run + "--clear --append", 2, "--append");
        row("no source", "run --source SOURCE/no --result RESULT", 1, "SOURCE/no: no such directory");
        row("file as source", "run --source SOURCE/a\nfile --result RESULT", 1, "SOURCE/a\\nfile: not a directory");
        row("result in source", "run --source SOURCE --result SOURCE/a/b", 1, "SOURCE/a/b: it lies inside the source");
        row("log in source", run + "--log SOURCE/log", 1, "SOURCE/log: it lies inside the source");
        row("result by a link", "run --source SOURCE --result RESULT/link/new", 1, "RESULT/link/new: it lies inside");
        row("log by a link", run + "--log RESULT/log", 1, "RESULT/log: it lies inside the source");
        row("source in copies", "run --clear --source RESULT/Artifacts_Result/Apple_Mail_Extractor/V9 --result RESULT",
            1, "cannot clear RESULT/Artifacts_Result/Apple_Mail_Extractor: the source");
        row("no plug-in", run + "--plugin SOURCE/absent.so", 1, "SOURCE/absent.so: no such file");
        row("file as plug-in", run + "--plugin SOURCE/a\nfile", 1, "cannot load the plug-in SOURCE/a\\nfile: ");
        if (QFile::exists(a_library)) {
            row("library as plug-in", run + "--plugin " + a_library, 1, "create_object");
        }
        row("unknown user", run + "--user Ben", 1, "Ben");
        row("no Mail directory", run + "--user nomail", 4, "no Mail directory found below SOURCE/Users");
        row("no users", "run --source SOURCE/Users --result RESULT", 4, "no Mail directory found below SOURCE/Users");
        row("survey of nothing", "survey --source SOURCE/no", 1, "SOURCE/no");
        row("survey of a file", "survey --source SOURCE/a\nfile", 1, "SOURCE/a\\nfile");
        row("verify nothing", "verify --result SOURCE/no", 1, "SOURCE/no: not a directory");
        row("verify a source", "verify --source SOURCE --result SOURCE/Users", 1, "cannot verify SOURCE/Users: no run");
        row("verify without a run", "verify --source SOURCE --result RESULT", 1,
            "cannot verify RESULT: no run has left");
        row("decipher nothing", "decipher SOURCE/no", 1, "SOURCE/no");
        row("show nothing", "show --result RESULT", 1, "RESULT/Artifacts_Result");
    }

    void refusals()
    {
        const evidence_source source;
        add_two_users(source);
        source.add_file("a\nfile");
        source.add_file("Users/nomail/file");
        QVERIFY(QDir().mkpath(copies(source, "V9")));
        QVERIFY(QFile::link(source.root() + "Users", source.result() + "/link"));
        QVERIFY(QFile::link(source.root() + "dangling", source.result() + "/log"));
        const QString root = QDir::cleanPath(source.root());
        const auto named = [&](QString text) {
            return text.replace("SOURCE", root).replace("RESULT", source.result());
        };
        QFETCH(QString, arguments);
        QFETCH(int, exit_code);
        QFETCH(QString, message);
        const qsizetype files = files_below(root);

        const program_result refused = run_program(named(arguments).split(' ', Qt::SkipEmptyParts));
        QCOMPARE(refused.exit_code, exit_code);
        QVERIFY2(refused.errors.contains(named(message).toUtf8()), refused.errors);
        QVERIFY2(exit_code == 2 || refused.errors.count('\n') == 1, refused.errors);
        QVERIFY(refused.output.isEmpty());
        QCOMPARE(files_below(source.result()), 0);
        QCOMPARE(files_below(root), files);
    }

    void link_out_of_the_source()
    {
        const evidence_source source;
        source.add_mail("ann", "V9/");
        source.add_link("V9/out", source.result());
        const program_result guarded = run(source);
        QCOMPARE(guarded.exit_code, 1);
        QVERIFY2(guarded.errors.contains("V9/out -> " + source.result().toUtf8() + ", which lies outside"),
                 guarded.errors);
        QVERIFY(!QFile::exists(copies(source)));
    }

    void one_object_a_user_or_one_for_all()
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
        QVERIFY(content_of(product(source, "log.txt")).contains("][KAVRO_LIVE]["));
        QVERIFY(!content_of(product(source, "log.txt")).contains("FAILED"));
        const QJsonObject summary = whole.json().object();
        const QJsonValue first_user = summary["users"].toArray().at(0);
        QCOMPARE(first_user["name"].toString(), "anna");
        QCOMPARE(first_user["accounts"]["account_store"].toInt(), 1);
        QCOMPARE(first_user["accounts"]["mail_directory"].toInt(), 1);
        QCOMPARE(first_user["files_copied"].toInt(), 2);
        QCOMPARE(summary["exit_code"].toInt(-1), 0);
        // What a store does not say is nothing wrong, but is said.
        const QString remark = "Users/anna/Library/Accounts/Accounts4.sqlite: has no table ZACCOUNTTYPE";
        const QStringList remarks = summary["remarks"].toVariant().toStringList();
        QVERIFY2(remarks.filter(remark).size() == 1, qPrintable(remarks.join('\n')));
        QVERIFY(content_of(product(source, "report.html")).contains("has no table ZACCOUNTTYPE"));

        const evidence_source as_suite;
        add_two_users(as_suite);
        const program_result one_run = run(as_suite, {"--as-suite"});
        QVERIFY2(one_run.exit_code == 0 && one_run.errors.isEmpty(), one_run.errors);
        QVERIFY2(one_run.output.contains("ben") && one_run.output.contains("has no table"), one_run.output);
        const QStringList rows = rows_of(as_suite.result());
        QVERIFY2(!rows.contains(anna), "V10 is looked into without being asked for");
        QVERIFY(rows.contains(anna_imap) && rows.contains(ben));
        QCOMPARE(content_of(product(as_suite, "log.txt")).count("pub_extract_artifacts]:-- START"), 1);
    }

    void a_machine_without_a_thread_to_spare_data()
    {
        QTest::addColumn<qsizetype>("store_size");
        QTest::newRow("a store is checked") << qsizetype(1);
        QTest::newRow("a store is not checked, as that takes a larger stack") << qsizetype(600'000);
    }

    void a_machine_without_a_thread_to_spare()
    {
        const evidence_source source;
        add_two_users(source);
        QFETCH(qsizetype, store_size);
        source.add_store("ben", "2:other::" + QString(store_size, 'b'), {}, "Accounts3.sqlite");
        QVERIFY(QDir().mkpath(source.result()));
        permit(source.root() + "..", 7);
        permit(source.result(), 7);
        const auto alone = [] {
            as_nobody()();
            ::setenv("ASAN_OPTIONS", "detect_leaks=0", 1); // which takes a thread
            const rlimit none{0, 0};
            ::setrlimit(RLIMIT_NPROC, &none);
        };
        const program_result whole =
            run_program({"run", "--source", source.root(), "--result", source.result(), "--json"}, alone);
        const bool is_checked = store_size == 1;
        QVERIFY2(whole.exit_code == (is_checked ? 0 : 3) && whole.errors.isEmpty() == is_checked, whole.errors);
        QCOMPARE(whole.errors.contains("Accounts3.sqlite: ZACCOUNT cannot be checked: no thread"), !is_checked);
        QVERIFY(whole.json()["verification"]["whole"].toBool());
        QCOMPARE(whole.json()["program"]["sha256"].toString().size(), 64);
    }

    void a_name_keeps_its_byte_order_mark()
    {
        const evidence_source source;
        add_two_users(source);
        const QString marked = QChar(QChar::ByteOrderMark) + QString("ben");
        source.add_mail(marked, "V9/IMAP-b@h/1.emlx");
        // The row loses the mark on its way into the table, and the program says that it misses one.
        QCOMPARE(run(source, {"--user", marked}).exit_code, 3);
        QVERIFY(QFile::exists(copies_of_today(source, marked)) && !QFile::exists(copies_of_today(source, "ben")));
    }

    void one_result_again_and_again()
    {
        const evidence_source source;
        add_two_users(source);
        const QStringList ben{"ben/ben@example.com//Source7", "ben/ben@example.com//Source7"};
        QCOMPARE(run(source, {"--user", "ben", "--source-number", "7"}).exit_code, 0);
        QCOMPARE(rows_of(source.result()), ben);
        QVERIFY(QFile::exists(copies_of_today(source, "ben")) && !QFile::exists(copies_of_today(source, "anna")));

        for (const QStringList& further : {QStringList{}, QStringList{"--append"}}) {
            const program_result refused = run(source, further);
            QVERIFY2(refused.exit_code == 1 &&
                         refused.errors.contains("it holds a finished run; take a result of its own"),
                     refused.errors);
        }
        const program_result over = run(source, {"--clear", "--json", "--log-encrypted"});
        QVERIFY2(over.exit_code == 0 && over.errors.contains("removing what earlier runs left"), over.errors);
        QCOMPARE(rows_of(source.result()).size(), 4);
        QCOMPARE(over.json()["users"].toArray().at(1)["accounts"]["account_store"].toInt(), 2);
        const program_result deciphered = run_program({"decipher", product(source, "log.txt")});
        QVERIFY2(deciphered.exit_code == 0 && deciphered.output.contains("]:-- ends\n"), deciphered.errors);

        const program_result quiet = run(source, {"--clear", "--quiet"});
        QVERIFY2(quiet.exit_code == 0 && quiet.errors.isEmpty(), quiet.errors);
        QCOMPARE(rows_of(source.result()).size(), 4);
        QCOMPARE(run(source, {"--clear", "--scheme", "winOS"}).exit_code, 4);
        QCOMPARE(rows_of(source.result()), QStringList());
    }

    void failures()
    {
        const evidence_source source;
        add_two_users(source);
        // A user that no path of text leads to, where the file system takes such a name.
        const fs::path odd_user = source.root().toStdString() + "Users/b\xff"
                                                                "d";
        std::error_code refused;
        fs::create_directory(odd_user, refused);
        const program_result left_out = run(source);
        fs::remove_all(odd_user);
        QCOMPARE(left_out.exit_code, refused ? 0 : 3);
        QVERIFY2(refused || left_out.errors.contains("not UTF-8"), left_out.errors);
        QCOMPARE(rows_of(source.result()).size(), 4);

        QVERIFY(QFile::remove(product(source, "report.html")) && QDir().mkpath(product(source, "report.html")));
        const program_result reportless = run(source, {"--clear"});
        QCOMPARE(reportless.exit_code, 1);
        QVERIFY2(reportless.errors.contains("report.html: there is a directory in its place"), reportless.errors);
        QVERIFY(QDir().rmdir(product(source, "report.html")));
        for (const QString& output : {source.root() + "r.html", source.result() + "/nowhere/r.html"}) {
            const program_result refusal = run_program({"report", "--result", source.result(), "--output", output});
            QVERIFY2(refusal.exit_code == 1 && refusal.errors.contains(output.toUtf8() + ": "), refusal.errors);
            QVERIFY(!QFile::exists(output));
        }

        source.add_file("Users/anna/Library/Accounts/Accounts4.sqlite",
                        "this is no database at all, however long it is");
        for (const QStringList& log : {QStringList{}, QStringList{"--log-encrypted"}}) {
            const program_result failed = run(source, QStringList{"--clear"} + log);
            QCOMPARE(failed.exit_code, 3);
            QVERIFY2(failed.errors.contains("failures in the log") && failed.errors.contains("FAILED"), failed.errors);
            QVERIFY2(failed.output.contains("ben"), "the rest goes on");
        }
        // Failures of earlier runs in the same log are not this run's.
        QCOMPARE(run(source, {"--clear", "--log-encrypted", "--user", "ben"}).exit_code, 0);
    }

    void demo()
    {
        const QTemporaryDir folder;
        const QString place = folder.filePath("demo");
        const program_result first = run_program({"demo", place});
        QVERIFY2(first.exit_code == 0, first.errors);
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
};

QTEST_GUILESS_MAIN(tst_run)
#include "tst_run.moc"
