#include "host/files/quiet_reading.h"
#include "host/result/run_record.h"
#include "host/verify/verification_text.h"
#include "tests/common/failure_text.h"

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
const QByteArray mail_path = "Users/anna/Library/Mail/";
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
        fs::create_directories(root / "result/mail-extract");
        fs::permissions(root / "result/mail-extract", fs::perms::all);
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
            {source(), result_paths(result()), users}, [](qint64, qint64) {}, [] { return false; });
    }

    /// Returns status and reason of every entry, by its path below the Mail directory.
    std::map<std::string, std::string> manifest() const
    {
        std::map<std::string, std::string> entries;
        manifest_reader reader(product("manifest.csv"));
        while (const auto entry = reader.next()) {
            const QByteArray reason = entry->reason.isEmpty() ? "" : ": " + entry->reason;
            entries[entry->path.mid(mail_path.size()).toStdString()] +=
                entry_status_name(entry->status) + reason.toStdString();
        }
        return entries;
    }
};

/// Damages a source file or its copy.
using fault = std::function<void(const fs::path& source, const fs::path& copy)>;

/// Gives up the superuser's rights for a while, since he reads everything.
struct without_privileges
{
    const uid_t before = ::geteuid();
    without_privileges()
    {
        if (before == 0 && ::seteuid(65534) != 0) {
            qFatal("the rights of the superuser cannot be dropped");
        }
    }
    ~without_privileges()
    {
        if (::seteuid(before) != 0) {
            qFatal("the rights cannot be taken back");
        }
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
        fs::create_symlink("itself", here.mail / "V9/itself");
        QVERIFY(::mkfifo((here.mail / "V9/pipe").c_str(), 0600) == 0);
        fs::create_symlink("pipe", here.mail / "V9/link to pipe");
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
            {"V9/itself", "link: link that leads nowhere: itself"},
            {"V9/latin \xfc", "missing: not copied: the name is not valid UTF-8"},
            {"V9/link not taken", "missing: link to the directory /, of which nothing was copied"},
            {"V9/link to file", "link: link to a.txt"},
            {"V9/link to folder", "link: link to the directory a"},
            {"V9/link to folder/mail.emlx", "copied"},
            {"V9/link to pipe", "link: link to pipe, named pipe"},
            {"V9/pipe", "special: named pipe"},
            {"V9/round", "link: link to the directory .."},
            {"V9/round/", "link: in a circle of links; not walked again"},
        };
        if (!takes_any_bytes) {
            expected.erase("V9/latin \xfc");
        }
        QVERIFY(here.manifest() == expected);
        QCOMPARE(found.summary.files, qint64(expected.size()));
        QCOMPARE(found.surplus_count, 1);
        QVERIFY(found.surplus.front().endsWith("V9/deeper/planted"));

        QCOMPARE(quiet_stat((here.copies / "V9/a/mail.emlx").c_str()).modified,
                 (file_time{odd_time_ns / 1'000'000'000, qint32(odd_time_ns % 1'000'000'000)}));
        QCOMPARE(quiet_stat((here.mail / "V9/a/mail.emlx").c_str()).modified, before.modified);

        manifest_reader reader(here.product("manifest.csv"));
        QByteArray last;
        while (const auto entry = reader.next()) {
            QVERIFY(last < percent_encoded_name(entry->path));
            last = percent_encoded_name(entry->path);
        }
        QProcess check;
        check.setWorkingDirectory(here.result());
        check.start(QStandardPaths::findExecutable("sha256sum"), {"-c", "--strict", "mail-extract/SHA256SUMS"});
        if (!check.waitForFinished()) {
            QSKIP("sha256sum is not installed");
        }
        QCOMPARE(check.readAllStandardOutput().count(": OK"), 5);
        QCOMPARE(check.exitCode(), 0);
    }

    void faults_are_named_data()
    {
        QTest::addColumn<fault>("damage");
        QTest::addColumn<std::string>("entry");
        const auto row = [](const char* name, const std::string& entry, const fault& damage) {
            QTest::newRow(name) << damage << entry;
        };
        const auto replaced = [](const auto& make_link) {
            return [make_link](const fs::path& source, const fs::path& copy) {
                fs::remove(copy);
                make_link(source, copy);
            };
        };
        using path = const fs::path&;
        row("one byte", "different: same size, other content",
            [](path, path copy) { std::ofstream(copy) << "content!"; });
        row("removed", "missing: not copied", [](path, path copy) { fs::remove(copy); });
        row("its folder removed", "missing: not copied", [](path, path copy) { fs::remove_all(copy.parent_path()); });
        row("source unreadable", "unreadable: source: Permission denied",
            [](path source, path) { fs::permissions(source, fs::perms::none); });
        row("copy unreadable", "unreadable: copy: Permission denied",
            [](path, path copy) { fs::permissions(copy, fs::perms::none); });
        row("copy is a link", "unreadable: copy: is no file: symbolic link",
            replaced([](path source, path copy) { fs::create_symlink(source, copy); }));
        row("copy is the source", "different: what stands for the copy is the source file itself",
            replaced([](path source, path copy) { fs::create_hard_link(source, copy); }));
    }

    void faults_are_named()
    {
        QFETCH(fault, damage);
        QFETCH(std::string, entry);
        const evidence here;
        here.write_pair("V9/1.emlx", "first");
        here.write_pair("V9/2.emlx", "content?");
        QVERIFY(here.verify().summary.whole);

        damage(here.mail / "V9/2.emlx", here.copies / "V9/2.emlx");
        const without_privileges dropped;
        const verification_result found = here.verify();
        QCOMPARE(here.manifest()["V9/2.emlx"], entry);
        QVERIFY(!found.summary.whole);
        const QString line = mail_path + "V9/2.emlx: " + QString::fromStdString(entry);
        QVERIFY2(verification_complaints(found).contains(line), qPrintable(verification_complaints(found).join('\n')));
    }

    void unreadable_directory_and_refused_time_are_said()
    {
        const evidence here;
        here.write_pair("V9/1.emlx", "first");
        here.write(here.mail / "V9/closed/2.emlx", "second");
        fs::permissions(here.mail / "V9/closed", fs::perms::none);
        const bool as_root = ::geteuid() == 0;
        {
            const without_privileges dropped;
            const verification_result found = here.verify();
            const std::string expected = "unreadable: the directory cannot be read: Permission denied";
            QCOMPARE(here.manifest()["V9/closed/"], expected);
            // Only the owner may set the time of a copy.
            QCOMPARE(found.time_refused_count, as_root ? 1 : 0);
        }
        fs::permissions(here.mail / "V9/closed", fs::perms::all);
        for (int i = 0; i < 23; ++i) {
            here.write(here.mail / "V9/more" / std::to_string(i), "x");
        }
        const QStringList lines = verification_complaints(here.verify());
        QCOMPARE(lines.size(), 21);
        QCOMPARE(lines.last(), QString("... and 4 more"));
    }

    void newest_copy_counts_and_the_users_of_the_run()
    {
        const evidence here;
        here.write_pair("V9/1.emlx", "first");
        here.write(here.root / (dated + "anna_12-31-2025") / "V9/1.emlx", "older");
        here.write(here.root / (dated + "gone_03-07-2026") / "V9/1.emlx", "no such user");
        here.write(here.root / "result/Artifacts_Result/in/notes.txt", "beside the copies");
        here.write(here.root / "result/mail-extract/evidence/Users/anna/Library/Mail/V9/.a", "of nothing");
        here.write(here.root / "source/Users/ben/Library/Mail/V9/1.emlx", "of the run");
        here.write(here.root / "source/Users/carl/Library/Mail/V9/1.emlx", "not of the run");

        const verification_result found = here.verify({"ben", "without mail"});
        QCOMPARE(found.summary.totals[std::size_t(entry_status::copied)], 1);
        QCOMPARE(found.failure_count, 1);
        QCOMPARE(found.failures.front().user, QByteArray("ben"));
        QCOMPARE(found.failures.front().status, entry_status::missing);
        QCOMPARE(found.notes.size(), 1);
        QVERIFY(found.notes[0].contains("anna_12-31-2025: not verified"));
        QStringList surplus;
        for (const QByteArray& path : found.surplus) {
            surplus.append(path.split('/').value(2).right(15));
        }
        QCOMPARE(surplus, (QStringList{"gone_03-07-2026", "notes.txt", "anna_12-31-2025", "Users"}));
    }

    void full_disk_leaves_the_old_manifest()
    {
        const evidence here;
        here.write_pair("V9/1.emlx", "first");
        QVERIFY(here.verify().summary.whole);
        for (int i = 0; i < 500; ++i) {
            here.write_pair("V9/more" + std::to_string(i), "x");
        }
        rlimit before = {};
        QVERIFY(::getrlimit(RLIMIT_FSIZE, &before) == 0);
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit small = {20'000, before.rlim_max};
        QVERIFY(::setrlimit(RLIMIT_FSIZE, &small) == 0);
        const QString unwritten = failure_text([&] { here.verify(); });
        ::setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
        QVERIFY2(unwritten.contains("/mail-extract/"), qPrintable(unwritten));
        QCOMPARE(here.manifest().size(), std::size_t(1));
    }

    void run_record_survives_its_file()
    {
        const evidence here;
        const result_paths result(here.result());
        QVERIFY(!read_run_record(result));
        run_record record = begin_run_record({"mail-extract", "run", "--source", "a \"b\""});
        QVERIFY(run_record_to_json(record)["exit_code"].isNull());
        record.exit_code = 0;
        record.ended = record.started.addMSecs(1);
        record.users = {{QString::fromUtf8("J\u00fcrgen"), 2, 3, 4, 5'000'000'000'000}};
        record.verification = verification_summary{7, 8, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, true, record.ended};
        write_run_record(result, record);
        const std::optional<run_record> again = read_run_record(result);
        QVERIFY(again && again->users == record.users && again->verification == record.verification);
        QCOMPARE(run_record_to_json(*again), run_record_to_json(record));
        here.write(here.root / "result/mail-extract/run.json", "{\"status\": ");
        QVERIFY(failure_text([&] { read_run_record(result); }).contains("run.json: "));
    }
};

QTEST_GUILESS_MAIN(tst_verify)
#include "tst_verify.moc"
