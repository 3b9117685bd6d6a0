#include "host/result/manifest.h"
#include "tests/common/files.h"
#include "tests/program/started_run.h"

#include <QDir>
#include <QTest>

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

void add_files(const evidence_source& source, int count)
{
    const QString first = source.add_file("Users/anna/Library/Mail/V9/m.mbox/0.emlx", QByteArray(4096, 'x'));
    for (int i = 1; i < count; ++i) {
        fs::create_hard_link(first.toStdString(), (QFileInfo(first).path() + "/%1.emlx").arg(i).toStdString());
    }
}

/// Starts a run and sends it signals in the middle of its copies, all before it can answer the first.
program_result ended_in_copy(const evidence_source& source, const QList<int>& signal_numbers)
{
    QProcess program;
    program.start(MAIL_EXTRACT_PROGRAM, arguments_for(source, {}));
    const auto has_begun = [&source] { return files_below(copies(source)) > 10; };
    const bool in_copy = QTest::qWaitFor(has_begun, 20'000);
    const auto process = static_cast<pid_t>(program.processId());
    ::kill(process, in_copy ? SIGSTOP : SIGKILL);
    for (const int number : signal_numbers) {
        ::kill(process, number);
    }
    ::kill(process, SIGCONT);
    return ending_of(program);
}

} // namespace

class tst_interrupted_run : public QObject
{
    Q_OBJECT

private slots:
    void cancelled_copy_data()
    {
        QTest::addColumn<int>("number");
        QTest::newRow("Ctrl-C") << SIGINT;
        QTest::newRow("the terminal is gone") << SIGHUP;
    }

    void cancelled_copy()
    {
        QFETCH(int, number);
        const evidence_source source;
        // The plug-in looks for a cancellation every 200 ms only, and memory takes thousands of copies in that time.
        constexpr int files = 20'000;
        add_files(source, files);
        const program_result cancelled = ended_in_copy(source, {number});
        QCOMPARE(cancelled.exit_code, 130);
        QVERIFY2(cancelled.errors.contains("cancelled"), cancelled.errors);
        const qsizetype copied = files_below(copies_of_today(source, "anna"));
        QVERIFY2(copied > 0 && copied < files, qPrintable(QString::number(copied)));
        QVERIFY(!QFile::exists(product(source, "manifest.csv")));
        QVERIFY(content_of(product(source, "run.json")).contains("\"status\": \"cancelled\""));
    }

    void second_signal_ends_at_once_data()
    {
        QTest::addColumn<QList<int>>("numbers");
        QTest::newRow("hang-up") << QList<int>{SIGINT, SIGHUP};
        QTest::newRow("termination") << QList<int>{SIGTERM, SIGINT};
    }

    void second_signal_ends_at_once()
    {
        QFETCH(QList<int>, numbers);
        const evidence_source source;
        add_files(source, 5'000);
        QCOMPARE(ended_in_copy(source, numbers).exit_code, -1);
        QVERIFY(content_of(product(source, "run.json")).contains("\"status\": \"running\""));
    }

    void killed_copy()
    {
        const evidence_source source;
        constexpr int files = 1'000;
        add_files(source, files);
        // What an earlier run said must not pass for what the killed one says.
        QVERIFY(QDir().mkpath(product(source, "")));
        const QStringList stale{"manifest.csv", "SHA256SUMS", "report.html", "manifest.csv.unfinished-17"};
        for (const QString& name : stale + QStringList{"manifest.csv.backup"}) {
            QVERIFY(QFile(product(source, qPrintable(name))).open(QIODevice::WriteOnly));
        }
        QCOMPARE(ended_in_copy(source, {SIGKILL}).exit_code, -1);
        QVERIFY(content_of(product(source, "run.json")).contains("\"status\": \"running\""));
        QStringList left = QDir(product(source, "")).entryList(QDir::Files);
        left.removeIf([](const QString& name) { return name.startsWith("run.json"); });
        QCOMPARE(left, (QStringList{"lock", "log.txt", "manifest.csv.backup"}));

        const QString cut = copies_of_today(source, "anna") + "/V9/m.mbox/7.emlx";
        QVERIFY(QDir().mkpath(QFileInfo(cut).path()));
        QFile truncated(cut);
        QVERIFY(truncated.open(QIODevice::WriteOnly) && truncated.resize(100));
        const program_result appended = run(source, {"--append"});
        QVERIFY2(appended.exit_code == 0, appended.errors);
        QCOMPARE(QFileInfo(cut).size(), 4096);

        const QString elsewhere = source.result() + "/elsewhere/";
        const QString link = copies(source, "Apple_Mail_Extractor_anna_01-02-2020");
        const QString no_date = copies(source, "Apple_Mail_Extractor_anna_13-02-2020");
        QVERIFY(QDir().mkpath(copies(source, "Apple_Mail_Extractor_gone_01-02-2020/V9")));
        QVERIFY(QDir().mkpath(elsewhere) && QDir().mkpath(no_date) && QFile::link(elsewhere, link));
        const program_result planted = run(source, {"--clear"});
        QVERIFY2(planted.exit_code == 1 && planted.errors.contains(link.toUtf8() + " is a link to "), planted.errors);
        QVERIFY(QFile::remove(link));
        QCOMPARE(run(source, {"--clear", "--log", source.result() + "/none/log.txt"}).exit_code, 1);
        QVERIFY2(QFile::exists(cut), "a run that is refused must not remove anything");
        const program_result cleared = run(source, {"--clear"});
        QCOMPARE(cleared.exit_code, 0);
        QVERIFY2(cleared.errors.contains("/Artifacts_Result/Apple_Mail_Extractor: 2\n"), cleared.errors);
        QCOMPARE(files_below(copies_of_today(source, "anna")), files);
        QVERIFY(QFile::exists(elsewhere) && QFile::exists(no_date));
    }

    void cancelled_verification_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("earlier_manifest_stays");
        QTest::newRow("run") << QStringList{"run", "--append"} << false;
        QTest::newRow("verify") << QStringList{"verify"} << true;
    }

    void cancelled_verification()
    {
        QFETCH(QStringList, arguments);
        const evidence_source source;
        source.add_mail("anna", "V9/huge");
        QVERIFY(QDir().mkpath(copies_of_today(source, "anna") + "/V9") && QDir().mkpath(product(source, "")));
        const QString huge_copy = copies_of_today(source, "anna") + "/V9/huge";
        manifest_entry recorded;
        recorded.path = "Users/anna/Library/Mail/V9/huge";
        recorded.size = qint64(64) << 30;
        recorded.copy = QDir(source.result()).relativeFilePath(huge_copy).toUtf8();
        recorded.copy_sha256 = recorded.source_sha256 = sha256_digest{};
        manifest_writer writer{result_paths(source.result())};
        writer.write(recorded);
        writer.commit();
        const QByteArray earlier = content_of(product(source, "manifest.csv"));
        // The plug-in copies over no file, so that nothing but the verification has to do with these.
        for (const QString& path : {source.root() + "Users/anna/Library/Mail/V9/huge", huge_copy}) {
            QFile huge(path);
            if (!huge.open(QIODevice::WriteOnly) || !huge.resize(qint64(64) << 30)) {
                QSKIP("this file system takes no sparse file of 64 GB");
            }
        }
        const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
        QVERIFY(terminal >= 0 && ::grantpt(terminal) == 0 && ::unlockpt(terminal) == 0);
        QProcess program;
        program.setStandardErrorFile(::ptsname(terminal), QIODevice::Append);
        program.start(MAIL_EXTRACT_PROGRAM,
                      arguments + QStringList{"--source", source.root(), "--result", source.result()});
        QByteArray shown;
        const auto shows = [&](const char* text) {
            std::array<char, 4096> bytes{};
            const ssize_t got = ::read(terminal, bytes.data(), bytes.size());
            shown.append(bytes.data(), std::max<ssize_t>(got, 0));
            return shown.contains(text);
        };
        QTRY_VERIFY_WITH_TIMEOUT(shows("\rverifying [") && shows("B of 68.7 GB, 0 of 1 files, "), 20'000);
        ::kill(static_cast<pid_t>(program.processId()), SIGINT);
        QCOMPARE(ending_of(program).exit_code, 130);
        QTRY_VERIFY2(shows("cancelled"), shown);
        ::close(terminal);
        const QDir products(product(source, ""));
        QTEST(products.exists("manifest.csv"), "earlier_manifest_stays");
        QVERIFY(!products.exists("manifest.csv") || content_of(product(source, "manifest.csv")) == earlier);
        QCOMPARE(products.entryList({"manifest.csv.*", "SHA256SUMS.*"}, QDir::Files | QDir::Hidden), QStringList());
    }
};

QTEST_GUILESS_MAIN(tst_interrupted_run)
#include "tst_interrupted_run.moc"
