#include "support/bulk/bulk_copying.h"
#include "tests/common/file_size_limit.h"
#include "tests/common/files.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using outcome = copied_file::outcome;

namespace {

/// A source and a destination, and what a copy from one to the other reported.
struct bulk_run
{
    QTemporaryDir folder;
    const QString source = folder.filePath("source");
    const QString destination = folder.filePath("copy/of/it");
    std::atomic<bool> cancelled = false;
    bool hashes = true; ///< a large file is copied by other code where it is not hashed
    std::function<void(const copied_file&)> on_report = [](const copied_file&) {};
    std::function<void()> on_wait = [] {};
    std::vector<copied_file> reports;
    QByteArray synced_directory;

    void copy()
    {
        reports.clear();
        bulk_copier copier(
            cancelled, hashes ? content_hashing::sha256 : content_hashing::none,
            [this](const copied_file& file) {
                reports.push_back(file);
                on_report(file);
            },
            [this] { on_wait(); });
        copier.copy_tree(QFile::encodeName(source), QFile::encodeName(destination));
        if (synced_directory.isEmpty()) {
            copier.finish();
        } else {
            copier.sync(synced_directory);
        }
    }

    /// The reports as "name outcome", sorted, with the step that failed.
    QStringList told() const
    {
        static const char* const words[] = {"copied", "changed", "kept", "failed", "cancelled", "unlisted", "unsynced"};
        QStringList texts;
        for (const copied_file& file : reports) {
            const QByteArray name = file.source_path.mid(QFile::encodeName(source).size() + 1);
            const QByteArray step = file.step.isEmpty() ? QByteArray() : " (" + file.step + ')';
            texts.append(QString::fromUtf8(name + ' ' + words[int(file.result)] + step));
        }
        texts.sort();
        return texts;
    }

    QByteArray copied(const QString& name) const { return content_of(destination + '/' + name); }
    int entries_copied() const
    {
        int count = 0;
        for (QDirIterator all(destination, QDir::Files | QDir::Hidden | QDir::System); all.hasNext(); ++count) {
            all.next();
        }
        return count;
    }
};

/// Makes a file that takes a while to copy, and no room.
QString write_long_file(const QString& path, qint64 size)
{
    QFile file(write_file(path));
    if (!file.resize(size)) {
        qFatal("%s cannot be made long", qUtf8Printable(path));
    }
    return path;
}

void make_link(const QByteArray& target, const QString& path)
{
    QDir().mkpath(QFileInfo(path).path());
    if (::symlink(target.constData(), QFile::encodeName(path).constData()) != 0) {
        qFatal("%s cannot be made", qUtf8Printable(path));
    }
}

/// The superuser may read everything; for as long as this lives the process is somebody else.
class ordinary_user
{
public:
    explicit ordinary_user(const QString& writable)
    {
        constexpr uid_t nobody = 65534;
        if (::geteuid() == 0 &&
            (::chown(QFile::encodeName(writable).constData(), nobody, nobody) != 0 || ::seteuid(nobody) != 0)) {
            qFatal("the superuser cannot become somebody else");
        }
    }
    ~ordinary_user()
    {
        if (::geteuid() != ::getuid() && ::seteuid(::getuid()) != 0) {
            qFatal("the superuser cannot come back");
        }
    }
    Q_DISABLE_COPY_MOVE(ordinary_user)
};

void either_way()
{
    QTest::addColumn<bool>("hashes");
    QTest::newRow("with hashes") << true;
    QTest::newRow("without hashes") << false;
}

} // namespace

class tst_bulk_copying : public QObject
{
    Q_OBJECT

private slots:
    void every_copy_is_told_whole_data()
    {
        QTest::addColumn<bool>("hashes");
        QTest::addColumn<mode_t>("withheld");
        QTest::newRow("with hashes") << true << mode_t(0);
        QTest::newRow("without hashes") << false << mode_t(0);
        QTest::newRow("permissions withheld by the process") << true << mode_t(0077);
    }

    void every_copy_is_told_whole()
    {
        QFETCH(const bool, hashes);
        QFETCH(const mode_t, withheld);
        bulk_run run;
        run.hashes = hashes;
        QList<QByteArray> contents;
        for (const int size : {0, 1, 262'143, 262'144, 262'145, 1'000'000, 16'777'216, 18'000'001}) {
            QByteArray content(size, char(size % 251));
            // No piece is like another.
            for (int at = 0; at < size; at += 100'000) {
                content[at] = char(at / 100'000);
            }
            contents.append(content);
            const QString file = write_file(run.source + QString("/d%1/%1").arg(size), contents.last());
            const timespec times[] = {{0, UTIME_OMIT}, {-5 + size, 123'456'789}};
            QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(file).constData(), times, 0), 0);
            QCOMPARE(::chmod(QFile::encodeName(file).constData(), 0440 | mode_t(size % 2)), 0);
        }
        const mode_t earlier = ::umask(withheld);
        run.copy();
        ::umask(earlier);
        QCOMPARE(run.reports.size(), std::size_t(contents.size()));
        for (const copied_file& file : run.reports) {
            const QByteArray content = content_of(QFile::decodeName(file.destination_path));
            QVERIFY(contents.removeOne(content));
            QCOMPARE(content_of(QFile::decodeName(file.source_path)), content);
            QCOMPARE(file.sha256,
                     hashes ? QCryptographicHash::hash(content, QCryptographicHash::Sha256) : QByteArray());
            QCOMPARE(file.beginning, content.left(copied_file::beginning_bytes));
            QCOMPARE(file.result, outcome::copied);
            QCOMPARE(file.size, content.size());
            QCOMPARE(file.bytes_copied, content.size());
            QCOMPARE(file.modified_s, content.size() - 5);
            QCOMPARE(file.modified_ns, 123'456'789);
            struct stat status = {};
            QCOMPARE(::stat(file.destination_path.constData(), &status), 0);
            QCOMPARE(status.st_mode & 07777, 0440U | mode_t(content.size() % 2));
            QCOMPARE(QFileInfo(QFile::decodeName(file.destination_path)).lastModified(),
                     QFileInfo(QFile::decodeName(file.source_path)).lastModified());
        }
    }

    void order_does_not_depend_on_the_threads()
    {
        bulk_run run;
        for (int i = 0; i < 1500; ++i) {
            write_file(run.source + QString("/%1/%2").arg(i % 3).arg(i), QByteArray(qsizetype(i % 7) * 3'000, 'x'));
        }
        QList<QByteArray> orders[2];
        for (auto& order : orders) {
            QDir(run.destination).removeRecursively();
            run.copy();
            for (const copied_file& file : run.reports) {
                order.append(file.source_path);
            }
        }
        QCOMPARE(orders[0].size(), 1500);
        QCOMPARE(orders[0], orders[1]);
    }

    void a_sync_that_fails_is_told_last()
    {
        bulk_run run;
        write_file(run.source + "/file");
        run.synced_directory = QFile::encodeName(run.folder.filePath("nowhere"));
        run.copy();
        QCOMPARE(run.reports.size(), 2U);
        QCOMPARE(run.reports.back().result, outcome::unsynced);
        QCOMPARE(run.reports.back().error_text, run.synced_directory + ": sync: No such file or directory");
    }

    void what_stands_in_the_way_is_kept()
    {
        bulk_run run;
        for (const char* const name : {"file", "link", "folder", "way/in", "way/a/b", "through/x", "free"}) {
            write_file(run.source + '/' + name, "new");
        }
        write_long_file(run.source + "/long", 1'000'000);
        write_file(run.destination + "/file", "old");
        write_file(run.destination + "/long", "old");
        write_file(run.destination + "/way", "old");
        QDir().mkpath(run.destination + "/folder");
        make_link("nowhere", run.destination + "/link");
        QDir().mkpath(run.destination + "/elsewhere");
        make_link("elsewhere", run.destination + "/through");
        run.copy();
        QCOMPARE(run.told(),
                 QStringList({"file kept", "folder kept", "free copied", "link kept", "long kept", "through/x copied",
                              "way unlisted (create directory)", "way/a unlisted (create directory)",
                              "way/a/b failed (create directory)", "way/in failed (create directory)"}));
        QCOMPARE(run.copied("file") + run.copied("long") + run.copied("way"), "oldoldold");
        QCOMPARE(run.copied("elsewhere/x"), "new");
        QVERIFY(!QFile::exists(run.folder.filePath("copy/of/it/nowhere")));
    }

    void what_cannot_be_read_is_told()
    {
        bulk_run run;
        write_file(run.source + "/closed/1");
        write_file(run.source + "/names only/2");
        write_file(run.source + "/3", "xxx");
        write_file(run.source + "/4");
        const auto restrict = [&run](const char* name, mode_t mode) {
            QCOMPARE(::chmod(QFile::encodeName(run.source + '/' + name).constData(), mode), 0);
        };
        restrict("closed", 0);
        restrict("names only", 0444);
        restrict("3", 0);
        {
            const ordinary_user user(run.folder.path());
            run.copy();
        }
        restrict("closed", 0755);
        restrict("names only", 0755);
        QCOMPARE(run.told(),
                 QStringList({"3 failed (open)", "4 copied", "closed unlisted (list)", "names only/2 failed (open)"}));
        QVERIFY(QFile::exists(run.destination + "/closed") && QFile::exists(run.destination + "/names only"));
        for (const copied_file& file : run.reports) {
            QCOMPARE(file.size, file.source_path.endsWith("/3") ? 3 : file.result == outcome::copied ? 1 : 0);
            QCOMPARE(file.error, file.result == outcome::copied ? 0 : EACCES);
            QVERIFY(file.error == 0 || file.error_text.startsWith(file.source_path + ": " + file.step + ": "));
        }
    }

    void a_copy_that_fails_leaves_nothing_data() { either_way(); }
    void a_copy_that_fails_leaves_nothing()
    {
        QFETCH(const bool, hashes);
        bulk_run run;
        run.hashes = hashes;
        write_file(run.source + "/short", QByteArray(200'000, 'x'));
        write_file(run.source + "/long", QByteArray(900'000, 'x'));
        write_file(run.source + "/longer", QByteArray(30'000'000, 'x'));
        write_file(run.source + "/fits", "x");
        {
            const file_size_limit limit(150'000);
            run.copy();
        }
        QCOMPARE(run.told(),
                 QStringList({"fits copied", "long failed (write)", "longer failed (write)", "short failed (write)"}));
        QCOMPARE(run.entries_copied(), 1);
        for (const copied_file& file : run.reports) {
            QCOMPARE(file.offset, file.result == outcome::copied ? 0 : 150'000);
            QVERIFY(file.result == outcome::copied ||
                    file.error_text == file.destination_path + ": write: File too large at byte 150000");
        }
    }

    void a_file_that_does_not_stay_as_it_was_data()
    {
        QTest::addColumn<bool>("hashes");
        QTest::addColumn<qint64>("then");
        QTest::newRow("grows") << true << qint64(700'000'000);
        QTest::newRow("shrinks") << true << qint64(300'000);
        QTest::newRow("ends where the disk says it should not") << true << qint64(-1);
        QTest::newRow("grows, not hashed") << false << qint64(7'000'000'000);
        QTest::newRow("shrinks, not hashed") << false << qint64(300'000);
        QTest::newRow("shrinks in the middle of a piece, not hashed") << false << qint64(590'000'001);
    }

    void a_file_that_does_not_stay_as_it_was()
    {
        QFETCH(const bool, hashes);
        QFETCH(const qint64, then);
        const qint64 size = hashes ? 600'000'000 : 6'000'000'000;
        bulk_run run;
        run.hashes = hashes;
        if (then < 0) {
            // The kernel's own files say a page and hold a few bytes.
            const QByteArray pretender = "/sys/kernel/uevent_seqnum";
            if (QFileInfo(pretender).size() < 100) {
                QSKIP("this machine has no file that claims more than it holds");
            }
            make_link(pretender, run.source + "/long");
            run.copy();
            QCOMPARE(run.told(), QStringList("long changed (read)"));
            QVERIFY(run.reports.at(0).error_text.contains("the file ends early at byte "));
            QCOMPARE(run.copied("long"), content_of(run.source + "/long"));
            return;
        }
        QFile file(write_long_file(run.source + "/long", size));
        run.on_wait = [&] { file.resize(then); };
        run.copy();
        QCOMPARE(run.told(), QStringList("long changed"));
        const copied_file& told = run.reports.at(0);
        QFile copy(run.destination + "/long");
        QCOMPARE(copy.size(), told.bytes_copied);
        QVERIFY(then > size ? told.bytes_copied == size : told.bytes_copied < size);
        QVERIFY(copy.open(QIODevice::ReadOnly));
        stream_hash hash;
        hash.begin();
        for (QByteArray piece = copy.read(1'000'000); hashes && !piece.isEmpty(); piece = copy.read(1'000'000)) {
            hash.take(piece.constData(), std::size_t(piece.size()));
        }
        QCOMPARE(told.sha256, hashes ? hash.end() : QByteArray());
    }

    void cancelled_in_a_long_file_data() { either_way(); }
    void cancelled_in_a_long_file()
    {
        QFETCH(const bool, hashes);
        bulk_run run;
        run.hashes = hashes;
        write_long_file(run.source + "/long", 200'000'000'000);
        run.on_wait = [&run] { run.cancelled = true; };
        run.copy();
        QCOMPARE(run.told(), QStringList("long cancelled"));
        QCOMPARE(run.entries_copied(), 0);
    }

    void no_file_is_begun_after_a_cancel()
    {
        bulk_run run;
        for (int i = 0; i < 3000; ++i) {
            write_file(run.source + QString("/%1/%2").arg(i / 10).arg(i));
        }
        for (const std::size_t told : {std::size_t(1), std::size_t(500)}) {
            QDir(run.destination).removeRecursively();
            run.cancelled = false;
            run.on_report = [&](const copied_file&) { run.cancelled = run.reports.size() >= told; };
            run.copy();
            const auto files = [&run] {
                int count = 0;
                for (QDirIterator all(run.destination, QDir::Files, QDirIterator::Subdirectories); all.hasNext();
                     ++count) {
                    all.next();
                }
                return count;
            }();
            QCOMPARE(files, int(run.told().filter(" copied").size()));
            QVERIFY(told == 1 ? files == 1 : files >= 500 && files < 3000);
        }
    }

    void deep_trees_do_not_use_up_descriptors()
    {
        bulk_run run;
        QString path = run.source;
        for (int i = 0; i < 150; ++i) {
            path += "/d";
            write_file(path + "/f");
        }
        rlimit earlier = {};
        ::getrlimit(RLIMIT_NOFILE, &earlier);
        const rlimit few{200, earlier.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &few);
        run.copy();
        ::setrlimit(RLIMIT_NOFILE, &earlier);
        QCOMPARE(run.reports.size(), 150U);
        QCOMPARE(run.told().filter("copied").size(), 150);
    }
};

QTEST_GUILESS_MAIN(tst_bulk_copying)
#include "tst_bulk_copying.moc"
