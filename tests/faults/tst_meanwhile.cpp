#include "tests/common/files.h"
#include "tests/faults/trial_ground.h"

#include <QDate>
#include <QTest>

#include <filesystem>
#include <functional>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// Why nothing can be mounted here; empty where this process has the mounts to itself from now on.
QString reason_for_no_mounts()
{
    if (::geteuid() != 0) {
        return "only the superuser may mount";
    }
    // What is mounted then is gone with this process.
    if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return QString("no mounts of its own: ") + std::strerror(errno);
    }
    return {};
}

using deed = std::function<void(const trial_ground&, const fs::path& mail)>;

} // namespace

Q_DECLARE_METATYPE(deed)

/// Stops the program in the middle of its work and does behind its back what others might: it must notice.
class tst_meanwhile : public QObject
{
    Q_OBJECT

private slots:
    void a_source_that_changes_is_a_finding_data()
    {
        QTest::addColumn<QByteArray>("at");
        QTest::addColumn<deed>("change");
        // The survey is long over when the copy of the first user begins; these are done to the second.
        const QByteArray surveyed = "case/Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor_anna_*";
        QTest::newRow("a user's Mail is gone")
            << surveyed << deed([](const auto&, const fs::path& mail) { fs::rename(mail, mail.string() + "-gone"); });
        QTest::newRow("a mailbox is gone") << surveyed << deed([](const auto&, const fs::path& mail) {
            fs::rename(mail / "V9/POP-ben@pop.example.org", mail / "../gone");
        });
        QTest::newRow("a file is a folder") << surveyed << deed([](const auto&, const fs::path& mail) {
            fs::rename(mail / "V9/POP-ben@pop.example.org/6.emlx", mail / "../gone");
            fs::create_directory(mail / "V9/POP-ben@pop.example.org/6.emlx");
        });
        QTest::newRow("a link is swapped in for a folder")
            << surveyed << deed([](const trial_ground& ground, const fs::path& mail) {
                   const QString outside = QDir::cleanPath(ground.source.root() + "/../outside");
                   write_file(outside + "/secret.emlx");
                   fs::rename(mail / "V9/POP-ben@pop.example.org", mail / "../gone");
                   fs::create_directory_symlink(outside.toStdString(), mail / "V9/POP-ben@pop.example.org");
               });
        QTest::newRow("a store is gone") << surveyed << deed([](const auto&, const fs::path& mail) {
            fs::remove(mail / "../Accounts/Accounts4.sqlite");
        });
        QTest::newRow("a user is gone") << surveyed << deed([](const trial_ground& ground, const fs::path& mail) {
            fs::rename(mail.parent_path().parent_path(), ground.result().toStdString() + "-gone");
        });
        QTest::newRow("a copied message is another of its size")
            << QByteArray("case/mail-extract/evidence") << deed([](const auto&, const fs::path& mail) {
                   write_file(QString::fromStdString((mail / "V9/POP-ben@pop.example.org/6.emlx").string()), "y");
               });
    }

    void a_source_that_changes_is_a_finding()
    {
        QFETCH(QByteArray, at);
        QFETCH(deed, change);
        for (const QStringList& further : {QStringList(), QStringList("--no-verify")}) {
            const trial_ground ground;
            const fs::path mail = (ground.source.root() + "Users/ben/Library/Mail").toStdString();
            const trial_ending ending = ground.run(ground.run_arguments(further), {"mkdir", at, "1", "signal:19"},
                                                   [&] { change(ground, mail); });
            QVERIFY(ending.met);
            QVERIFY2(ending.exit_code == 3,
                     qPrintable(QString::number(ending.exit_code) + ": " + ending.said.left(2000)));
        }
    }

    // Neither the number of files nor that of folders tells of it, and no copy holds it any more.
    void a_message_that_is_hidden_meanwhile_is_kept()
    {
        const trial_ground ground;
        const QString folder = "Users/ben/Library/Mail/V9/POP-ben@pop.example.org/";
        const auto hide = [&] {
            QVERIFY(QFile::rename(ground.source.root() + folder + "6.emlx", ground.source.root() + folder + ".6.emlx"));
        };
        const trial_ending ending = ground.run(
            ground.run_arguments(),
            {"mkdir", "case/Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor_anna_*", "1", "signal:19"},
            hide);
        QVERIFY(ending.met);
        QVERIFY(QFile::exists(ground.result() + "/mail-extract/evidence/" + folder + ".6.emlx"));
    }

    void one_result_takes_one_run_at_a_time()
    {
        const trial_ground ground;
        trial_ending second;
        const trial_ending first = ground.run(
            ground.run_arguments(), {"open", "case/Artifacts_Result/Apple_Mail_Extractor/tmp/*", "1", "signal:19"},
            [&] { second = ground.run(ground.run_arguments({"--append"}), {}); });
        QVERIFY2(second.exit_code == 1, qPrintable(QString::number(second.exit_code)));
        QCOMPARE(first.exit_code, 0);
        QCOMPARE(ground.content().rows.size(), 6);
    }

    void a_result_that_is_the_source_elsewhere_is_refused()
    {
        if (const QString reason = reason_for_no_mounts(); !reason.isEmpty()) {
            QSKIP(qPrintable(reason));
        }
        const trial_ground ground;
        const QByteArray below = QFile::encodeName(ground.source.root() + "Users/anna/Library");
        const QByteArray place = QFile::encodeName(ground.result());
        QCOMPARE(::mount(below.constData(), place.constData(), nullptr, MS_BIND, nullptr), 0);
        for (const QString& folder : {QString(), QString("/new")}) {
            const trial_ending ending =
                ground.run({"run", "--source", ground.source.root(), "--result", ground.result() + folder}, {});
            QVERIFY(ground.source_state() == ground.source_before);
            QCOMPARE(ending.exit_code, 1);
        }
        QCOMPARE(::umount(place.constData()), 0);
    }

    void a_folder_of_copies_that_is_the_source_elsewhere_is_refused()
    {
        if (const QString reason = reason_for_no_mounts(); !reason.isEmpty()) {
            QSKIP(qPrintable(reason));
        }
        const trial_ground ground;
        const QByteArray mail = QFile::encodeName(ground.source.root() + "Users/anna/Library/Mail");
        const QString folder = "/Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor_anna" +
                               QDate::currentDate().toString("_MM-dd-yyyy");
        const QByteArray place = QFile::encodeName(ground.result() + folder);
        QVERIFY(QDir().mkpath(QFile::decodeName(place)));
        QCOMPARE(::mount(mail.constData(), place.constData(), nullptr, MS_BIND, nullptr), 0);
        for (const QStringList& further : {QStringList(), QStringList("--clear")}) {
            const trial_ending ending = ground.run(ground.run_arguments(further), {});
            QVERIFY(ground.source_state() == ground.source_before);
            QVERIFY2(ending.exit_code == 1 && ending.said.contains(folder.toUtf8()), ending.said);
        }
        QCOMPARE(::umount(place.constData()), 0);
    }

    void a_report_is_not_written_where_the_source_hides_the_record()
    {
        if (const QString reason = reason_for_no_mounts(); !reason.isEmpty()) {
            QSKIP(qPrintable(reason));
        }
        const trial_ground ground;
        QCOMPARE(ground.run(ground.run_arguments(), {}).exit_code, 0);
        const QByteArray mail = QFile::encodeName(ground.source.root() + "Users/anna/Library/Mail");
        const QByteArray place = QFile::encodeName(ground.result() + "/mail-extract");
        QCOMPARE(::mount(mail.constData(), place.constData(), nullptr, MS_BIND, nullptr), 0);
        const trial_ending ending = ground.run({"report", "--result", ground.result()}, {});
        QVERIFY(ground.source_state() == ground.source_before);
        QVERIFY2(ending.exit_code == 1 && ending.errors.contains("/mail-extract: "), ending.errors);
        QCOMPARE(::umount(place.constData()), 0);
    }

    // Nothing can be recorded there, and what is asked is answered all the same.
    void a_result_on_read_only_media_is_verified()
    {
        if (const QString reason = reason_for_no_mounts(); !reason.isEmpty()) {
            QSKIP(qPrintable(reason));
        }
        const trial_ground ground;
        QCOMPARE(ground.run(ground.run_arguments(), {}).exit_code, 0);
        const QByteArray place = QFile::encodeName(ground.result());
        for (const bool is_whole : {true, false}) {
            if (!is_whole) {
                QVERIFY(QFile::remove(ground.result() + "/mail-extract/SHA256SUMS"));
            }
            QCOMPARE(::mount(place.constData(), place.constData(), nullptr, MS_BIND, nullptr), 0);
            QCOMPARE(::mount(nullptr, place.constData(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr), 0);
            const trial_ending ending = ground.run(ground.verify_arguments(), {});
            QCOMPARE(::umount(place.constData()), 0);
            QCOMPARE(ending.exit_code, is_whole ? 0 : 3);
            QVERIFY2(ending.said.contains("is not recorded") && ending.output.contains("record: none"), ending.said);
            QVERIFY(is_whole || ending.said.contains("SHA256SUMS"));
        }
    }

    void a_disk_for_fewer_files_is_refused()
    {
        if (const QString reason = reason_for_no_mounts(); !reason.isEmpty()) {
            QSKIP(qPrintable(reason));
        }
        const trial_ground ground;
        const QByteArray disk = QFile::encodeName(ground.result());
        QCOMPARE(::mount("none", disk.constData(), "tmpfs", 0, "size=24m,nr_inodes=50"), 0);
        const trial_ending ending = ground.run(ground.run_arguments(), {});
        QCOMPARE(ending.exit_code, 1);
        QVERIFY2(ending.errors.contains("files and directories: needed ") && ending.errors.contains(", free 49\n"),
                 ending.errors);
        QVERIFY(QDir(ground.result()).isEmpty());
        QCOMPARE(::umount(disk.constData()), 0);
    }

    // A disk that is really full, from any of the calls on.
    void a_full_disk_is_said()
    {
        if (const QString reason = reason_for_no_mounts(); !reason.isEmpty()) {
            QSKIP(qPrintable(reason));
        }
        const trial_ground ground;
        const QByteArray disk = QFile::encodeName(ground.result());
        QCOMPARE(::mount("none", disk.constData(), "tmpfs", 0, "size=24m"), 0);
        const QList<chosen_fault> calls = ground.calls_of(ground.run_arguments());
        const result_content undisturbed = ground.content();
        const int trials = attack_trials(6);
        complaint_list complaints;
        for (int trial = 0; trial < trials; ++trial) {
            ground.empty_result();
            chosen_fault stopped = calls[calls.size() * trial / trials];
            stopped.form = "signal:19";
            const trial_ending ending = ground.run(ground.run_arguments(), stopped, [&] { fill(ground.result()); });
            QFile::remove(ground.result() + "/filler");
            complaints += ground.complaints(stopped.text(), ending, undisturbed);
            if (ending.exit_code != 0 && !says_that_disk_is_full(ending)) {
                complaints += stopped.text() + ": ended without a word of the reason";
            }
        }
        QCOMPARE(::umount(disk.constData()), 0);
        QCOMPARE(complaints.count, 0);
    }

private:
    static void fill(const QString& directory)
    {
        QFile filler(directory + "/filler");
        QVERIFY(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        for (const qint64 size : {65536, 4096}) {
            while (filler.write(QByteArray(size, 'f')) == size) {
            }
        }
    }
};

QTEST_GUILESS_MAIN(tst_meanwhile)
#include "tst_meanwhile.moc"
