#include "host/exit_codes.h"
#include "host/quiet_reading.h"
#include "host/run_record.h"
#include "host/verification.h"
#include "host/verify_command.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr qint64 odd_time_ns = 1'456'789'012'345'678'901;
const std::string dated = "result/Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor_";

/// A source with one user and a result as a run leaves it.
struct evidence
{
    QTemporaryDir folder;
    fs::path root = folder.path().toStdString();
    fs::path mail = root / "source/Users/anna/Library/Mail";
    fs::path copies = root / (dated + "anna_03-07-2026");

    evidence()
    {
        fs::create_directories(mail / "V9");
        fs::create_directories(copies / "V9");
        fs::permissions(root, fs::perms::all);
    }
    evidence(const evidence&) = delete;
    evidence& operator=(const evidence&) = delete;
    /// Qt leaves names behind that are not UTF-8.
    ~evidence() { fs::remove_all(root); }

    /// False when the file system does not take the name.
    bool write(const fs::path& path, const std::string& content) const
    {
        fs::create_directories(path.parent_path());
        return (std::ofstream(path, std::ios::binary) << content).good();
    }

    /// Writes a file to the source, with an old and odd modification time, and to the result.
    void write_pair(const std::string& name, const std::string& content) const
    {
        write(mail / name, content);
        write(copies / name, content);
        const timespec odd{odd_time_ns / 1'000'000'000, odd_time_ns % 1'000'000'000};
        const std::array<timespec, 2> times = {odd, odd};
        QVERIFY(::utimensat(AT_FDCWD, (mail / name).c_str(), times.data(), 0) == 0);
    }

    QString source() const { return QString::fromStdString(root / "source"); }
    QString result() const { return QString::fromStdString(root / "result"); }
    QString product(const char* name) const { return result() + "/mail-extract/" + name; }

    verification_result verify(const QStringList& users = {}) const
    {
        return verify_copies(
            {source(), result(), users}, [](qint64, qint64) {}, [] { return false; });
    }

    /// Returns status and reason of every entry, by its path below the Mail directory.
    std::map<std::string, std::string> manifest() const
    {
        std::map<std::string, std::string> entries;
        manifest_reader reader;
        reader.open(product("manifest.csv"));
        while (const auto entry = reader.next()) {
            const std::string path = entry->path.mid(qsizetype(strlen("Users/anna/Library/Mail/"))).toStdString();
            const std::string status = entry_status_name(entry->status);
            entries[path] += entry->reason.isEmpty() ? status : status + ": " + entry->reason.toStdString();
        }
        return entries;
    }
};

/// Gives up the superuser's rights for a while, since he reads everything.
struct without_privileges
{
    const uid_t before = ::geteuid();
    without_privileges()
    {
        if (before == 0 && ::seteuid(65534) != 0)
            qFatal("the rights of the superuser cannot be dropped");
    }
    ~without_privileges()
    {
        if (::seteuid(before) != 0)
            qFatal("the rights cannot be taken back");
    }
};

} // namespace

/// A result compared with its source, and the record of a run.
class tst_verify : public QObject
{
    Q_OBJECT

private slots:
    void every_file_stands_once_with_its_status()
    {
        const evidence here;
        here.write_pair("V9/a/mail.emlx", "mail");
        here.write_pair("V9/a.txt", "");
        here.write_pair("V9/a-b/two\nlines \"100%\" \\.emlx", "odd");
        const bool takes_any_bytes = here.write(here.mail / "V9/latin \xfc", "not copied");
        here.write(here.mail / "V9/.hidden/inside", "hidden");
        here.write(here.mail / "PersistenceInfo.plist", "loose");
        fs::create_symlink("a.txt", here.mail / "V9/link to file");
        here.write(here.copies / "V9/link to file", "");
        fs::create_symlink("a", here.mail / "V9/link to folder");
        here.write(here.copies / "V9/link to folder/mail.emlx", "mail");
        fs::create_symlink("/", here.mail / "V9/link not taken");
        fs::create_symlink("..", here.mail / "V9/round");
        fs::create_directories(here.copies / "V9/round/V9");
        fs::create_symlink("nowhere", here.mail / "V9/dangling");
        QVERIFY(::mkfifo((here.mail / "V9/pipe").c_str(), 0600) == 0);
        here.write(here.copies / "V9/deeper/planted", "by nobody");

        const entry_facts before = quiet_stat((here.mail / "V9/a/mail.emlx").c_str());
        const verification_result found = here.verify();
        std::map<std::string, std::string> expected = {
            {"PersistenceInfo.plist", "loose"},
            {"V9/.hidden/inside", "hidden"},
            {"V9/a-b/two\nlines \"100%\" \\.emlx", "copied"},
            {"V9/a.txt", "copied"},
            {"V9/a/mail.emlx", "copied"},
            {"V9/dangling", "link: link that leads nowhere: nowhere"},
            {"V9/latin \xfc", "missing: not copied: the name is not valid UTF-8"},
            {"V9/link not taken", "missing: link to the directory /, of which nothing was copied"},
            {"V9/link to file", "link: link to a.txt"},
            {"V9/link to folder", "link: link to the directory a"},
            {"V9/link to folder/mail.emlx", "copied"},
            {"V9/pipe", "special: named pipe"},
            {"V9/round", "link: link to the directory .."},
            {"V9/round/", "link: in a circle of links; not walked again"},
        };
        if (!takes_any_bytes)
            expected.erase("V9/latin \xfc");
        QVERIFY(here.manifest() == expected);
        QCOMPARE(found.summary.files, qint64(expected.size()));
        QCOMPARE(found.surplus_count, 1);
        QVERIFY(found.surplus.front().endsWith("V9/deeper/planted"));

        QCOMPARE(quiet_stat((here.copies / "V9/a/mail.emlx").c_str()).modified_ns, odd_time_ns);
        QCOMPARE(quiet_stat((here.mail / "V9/a/mail.emlx").c_str()).modified_ns, before.modified_ns);

        manifest_reader reader;
        QVERIFY(reader.open(here.product("manifest.csv")));
        QByteArray last;
        while (const auto entry = reader.next()) {
            QVERIFY(last < percent_encoded_name(entry->path));
            last = percent_encoded_name(entry->path);
        }
        QProcess check;
        check.setWorkingDirectory(here.result());
        check.start(QStandardPaths::findExecutable("sha256sum"), {"-c", "--strict", "mail-extract/SHA256SUMS"});
        if (!check.waitForFinished())
            QSKIP("sha256sum is not installed");
        QCOMPARE(check.readAllStandardOutput().count(": OK"), 5);
        QCOMPARE(check.exitCode(), 0);
    }

    void faults_are_named_data()
    {
        using fault = std::function<void(const evidence&)>;
        QTest::addColumn<fault>("damage");
        QTest::addColumn<std::string>("entry");
        const auto row = [](const char* name, const std::string& entry, fault damage) {
            QTest::newRow(name) << std::move(damage) << entry;
        };
        row("one byte", "different: same size, other content",
            [](const evidence& here) { here.write(here.copies / "V9/2.emlx", "content!"); });
        row("cut off", "different: the copy has 3 of 8 bytes",
            [](const evidence& here) { fs::resize_file(here.copies / "V9/2.emlx", 3); });
        row("removed", "missing: not copied", [](const evidence& here) { fs::remove(here.copies / "V9/2.emlx"); });
        row("its folder removed", "missing: not copied", [](const evidence& here) {
            here.write_pair("V9/3.emlx", "x");
            fs::remove_all(here.copies / "V9");
        });
        row("source unreadable", "unreadable: source: Permission denied",
            [](const evidence& here) { fs::permissions(here.mail / "V9/2.emlx", fs::perms::none); });
        row("copy unreadable", "unreadable: copy: Permission denied",
            [](const evidence& here) { fs::permissions(here.copies / "V9/2.emlx", fs::perms::none); });
        row("copy is a link", "unreadable: copy: is a symbolic link, not a file", [](const evidence& here) {
            fs::remove(here.copies / "V9/2.emlx");
            fs::create_symlink(here.mail / "V9/2.emlx", here.copies / "V9/2.emlx");
        });
        row("copy is the source", "different: what stands for the copy is the source file itself",
            [](const evidence& here) {
                fs::remove(here.copies / "V9/2.emlx");
                fs::create_hard_link(here.mail / "V9/2.emlx", here.copies / "V9/2.emlx");
            });
    }

    void faults_are_named()
    {
        using fault = std::function<void(const evidence&)>;
        QFETCH(fault, damage);
        QFETCH(std::string, entry);
        const evidence here;
        here.write_pair("V9/1.emlx", "first");
        here.write_pair("V9/2.emlx", "content?");
        fs::create_directories(here.root / "result/mail-extract");
        fs::permissions(here.root / "result/mail-extract", fs::perms::all);
        QVERIFY(here.verify().summary.whole);
        QCOMPARE(verify_command({here.source(), here.result(), true}), exit_code::whole);

        damage(here);
        const without_privileges dropped;
        const verification_result found = here.verify();
        QCOMPARE(here.manifest()["V9/2.emlx"], entry);
        QVERIFY(!found.summary.whole);
        const QString line = "Users/anna/Library/Mail/V9/2.emlx: " + QString::fromStdString(entry);
        QVERIFY2(verification_complaints(found).contains(line), qPrintable(verification_complaints(found).join('\n')));
        QCOMPARE(verify_command({here.source(), here.result(), true}), exit_code::with_failures);
    }

    void unreadable_directory_and_refused_time_are_said()
    {
        const evidence here;
        here.write_pair("V9/1.emlx", "first");
        here.write(here.mail / "V9/closed/2.emlx", "second");
        fs::permissions(here.mail / "V9/closed", fs::perms::none);
        fs::create_directories(here.root / "result/mail-extract");
        fs::permissions(here.root / "result/mail-extract", fs::perms::all);
        const bool as_root = ::geteuid() == 0;
        {
            const without_privileges dropped;
            const verification_result found = here.verify();
            QCOMPARE(here.manifest()["V9/closed/"],
                     std::string("unreadable: the directory cannot be read: Permission denied"));
            // Only the owner may set the time of a copy.
            QCOMPARE(found.time_refused_count, as_root ? 1 : 0);
        }
        fs::permissions(here.mail / "V9/closed", fs::perms::all);
    }

    void of_many_failures_the_first_twenty_are_named()
    {
        const evidence here;
        for (int i = 0; i < 23; ++i)
            here.write(here.mail / "V9" / std::to_string(i), "x");
        const QStringList lines = verification_complaints(here.verify());
        QCOMPARE(lines.size(), 21);
        QCOMPARE(lines.last(), QString("... and 3 more"));
    }

    void newest_copy_counts_and_the_users_of_the_run()
    {
        const evidence here;
        here.write_pair("V9/1.emlx", "first");
        here.write(here.root / (dated + "anna_12-31-2025") / "V9/1.emlx", "older");
        here.write(here.root / (dated + "gone_03-07-2026") / "V9/1.emlx", "no such user");
        here.write(here.root / "source/Users/ben/Library/Mail/V9/1.emlx", "of the run");
        here.write(here.root / "source/Users/carl/Library/Mail/V9/1.emlx", "not of the run");

        const verification_result found = here.verify({"ben", "without mail"});
        QCOMPARE(found.users, 2);
        QCOMPARE(found.summary.totals[std::size_t(entry_status::copied)], 1);
        QCOMPARE(found.failure_count, 1);
        QCOMPARE(found.failures.front().user, QByteArray("ben"));
        QCOMPARE(found.failures.front().status, entry_status::missing);
        QCOMPARE(found.notes.size(), 2);
        QVERIFY(found.notes[0].contains("anna_12-31-2025: not verified"));
        QVERIFY(found.notes[1].contains("gone_03-07-2026: not verified"));
    }

    void what_cannot_be_verified_is_refused()
    {
        const evidence here;
        const QString elsewhere = QString::fromStdString(here.root / "empty");
        fs::create_directories(here.root / "empty");
        const QString inside = QString::fromStdString(here.mail);
        QCOMPARE(verify_command({here.source() + "x", here.result(), true}), exit_code::could_not_run);
        QCOMPARE(verify_command({here.source(), inside, true}), exit_code::could_not_run);
        QCOMPARE(verify_command({elsewhere, here.result(), true}), exit_code::no_mail_directory);
    }

    void cancelled_in_the_middle_leaves_the_old_manifest()
    {
        const evidence here;
        here.write_pair("V9/1.emlx", "first");
        QVERIFY(here.verify().summary.whole);
        here.write_pair("V9/0.large", "");
        fs::resize_file(here.mail / "V9/0.large", std::uintmax_t(64) << 30);

        QElapsedTimer taken;
        taken.start();
        qint64 bytes_when_cancelled = 0;
        const verification_result found = verify_copies(
            {here.source(), here.result(), {}}, [&](qint64, qint64 bytes) { bytes_when_cancelled = bytes; },
            [&] { return bytes_when_cancelled > 0; });
        QVERIFY(found.cancelled);
        QVERIFY(bytes_when_cancelled > 0);
        QVERIFY2(taken.elapsed() < 10'000, "64 GB were read to the end");
        QCOMPARE(here.manifest().size(), std::size_t(1));
        QCOMPARE(QDir(here.product("")).entryList(QDir::Files | QDir::Hidden),
                 QStringList({"manifest.csv", "SHA256SUMS"}));
    }

    void full_disk_leaves_the_old_manifest()
    {
        const evidence here;
        here.write_pair("V9/1.emlx", "first");
        QVERIFY(here.verify().summary.whole);
        for (int i = 0; i < 500; ++i)
            here.write_pair("V9/more" + std::to_string(i), "x");
        rlimit before = {};
        QVERIFY(::getrlimit(RLIMIT_FSIZE, &before) == 0);
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit small = {20'000, before.rlim_max};
        QVERIFY(::setrlimit(RLIMIT_FSIZE, &small) == 0);
        const verification_result found = here.verify();
        ::setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
        QVERIFY2(found.error.contains("/mail-extract/"), qPrintable(found.error));
        QCOMPARE(here.manifest().size(), std::size_t(1));
    }

    void run_record_survives_its_file()
    {
        const evidence here;
        QString error;
        QVERIFY(!read_run_record(here.result(), error));
        QCOMPARE(error, QString());

        run_record record = begin_run_record({"mail-extract", "run", "--source", "a \"b\""});
        record.users = {{QString::fromUtf8("J\u00fcrgen"), 2, 3, 4, 5'000'000'000'000}};
        QVERIFY(write_run_record(here.result(), record, error));
        QFile file(run_record_path(here.result()));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QJsonObject running = QJsonDocument::fromJson(file.readAll()).object();
        QCOMPARE(running["status"].toString(), QString("running"));
        for (const char* unknown : {"exit_code", "ended_utc", "verification", "error"})
            QVERIFY2(running.contains(QLatin1String(unknown)) && running[unknown].isNull(), unknown);
        QVERIFY(running["started_utc"].toString().endsWith("Z"));

        record.status = "finished";
        record.exit_code = 0;
        record.ended = record.started.addMSecs(1);
        record.verification = verification_summary{7, 8, {1, 2, 3, 4, 5, 6, 7, 8}, true, record.ended};
        record.log_failure_lines = QStringList{"one FAILED"};
        QVERIFY(write_run_record(here.result(), record, error));
        const std::optional<run_record> again = read_run_record(here.result(), error);
        QVERIFY(again);
        QCOMPARE(run_record_to_json(*again), run_record_to_json(record));
        QVERIFY(again->users == record.users);
        QVERIFY(again->verification == record.verification);
        QCOMPARE(again->ended, record.ended);

        here.write(here.root / "result/mail-extract/run.json", "{\"status\": ");
        QVERIFY(!read_run_record(here.result(), error));
        QVERIFY(error.contains("run.json: "));
    }
};

QTEST_GUILESS_MAIN(tst_verify)
#include "tst_verify.moc"
