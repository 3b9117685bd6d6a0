#include "sample/sample_source.h"
#include "tests/common/driven_plugin.h"
#include "tests/common/evidence_source.h"
#include "tests/common/files.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QScopeGuard>
#include <QTest>

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

using outcome = copied_file::outcome;

#ifdef Q_OS_LINUX
static bool disk_is_lost = false;

/// Takes the place of the system's call for the plug-in, too.
extern "C" Q_DECL_EXPORT int syncfs(int /*descriptor*/) noexcept
{
    errno = EIO;
    return disk_is_lost ? -1 : 0;
}
#endif

namespace {

constexpr int longer_than_row_pause_ms = 1010;

/// What one way of copying leaves and says.
struct extraction
{
    QStringList rows;
    QStringList log;
    QStringList copies; ///< paths below the plug-in's directory; files with their content's hash
    QString first_signal, last_signal, total;
    QList<copied_file> told;
    QList<qsizetype> ends;
};

QStringList tree_of(const QString& directory)
{
    QStringList entries;
    const auto everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    for (QDirIterator all(directory, everything, QDirIterator::Subdirectories); all.hasNext();) {
        const QFileInfo entry = all.nextFileInfo();
        const QString path = entry.filePath().mid(directory.size());
        const QByteArray content =
            entry.isFile() ? content_of(entry.filePath()) : QByteArray(entry.isDir() ? "d" : "?");
        if (!path.endsWith(".sqlite")) {
            entries.append(path + ' ' + QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex());
        }
    }
    entries.sort();
    return entries;
}

/// When a host cancels.
enum class cancel_point
{
    never,
    first_copy,
    first_row
};

extraction extract(const evidence_source& source, run_settings settings, cancel_point cancel)
{
    QDir(source.result()).removeRecursively();
    QDir().mkpath(source.result());
    // Something lies at the destination already.
    driven_plugin plugin(source, settings);
    write_file(plugin.mail_copy(settings.users.first()) + "/V9/folder/was there", "old");
    plugin.on_event = [&](const QString& event) {
        const bool is_copy = event.startsWith("copied");
        if (cancel == cancel_point::first_row && is_copy && plugin.copied.size() == 1) {
            QTest::qSleep(longer_than_row_pause_ms);
        }
        if ((cancel == cancel_point::first_copy && is_copy) ||
            (cancel == cancel_point::first_row && event == "records 1")) {
            plugin->pub_cancel_extraction();
        }
    };
    plugin.run();
    return {plugin.rows(),         plugin.log(),         tree_of(plugin.plugin_directory),
            plugin.events.first(), plugin.events.last(), plugin.copied.isEmpty() ? QString() : plugin.copied.last(),
            plugin.copies,         plugin.bulk_ends};
}

/// Qt lists neither, nor can it remove them.
const QByteArrayList names_of_no_text = {"V9/ID-A/\xff\xfe", "V9/ID-A/\xed\xa0\x80"};

QByteArray raw_path(const evidence_source& source, const QByteArray& name)
{
    return QFile::encodeName(source.root()) + "Users/ann/Library/Mail/" + name;
}

/// Makes an entry whose name or nature a copy could stumble over; `name` is raw bytes below ann's Mail directory.
void add_raw(const evidence_source& source, const QByteArray& name, mode_t kind)
{
    if (::mknod(raw_path(source, name).constData(), kind | 0644, 0) != 0) {
        qFatal("%s cannot be made", name.constData());
    }
}

QStringList add_awkward_mail(const evidence_source& source)
{
    source.add_mail(
        "ann",
        "V9/IMAP-a@imap.host/x.mbox/1|V9/IMAP-a@imap.host/x.mbox/.hidden|V9/.hidden/2|V9/folder/was there"
        "|V9/folder/not there|V9/ID-A/3|V9/ID-A/deep/4|V9/ID-A/round/9|V8/POP-b@host/IMAP-c@host/5|V2/empty/|loose"
        "|V9/a\nb 'c\"/u\u0308 \u00fc|V9/tail /6");
    source.add_store("ann", "1:ID-A::a@host");
    source.add_file("elsewhere/folder/7");
    source.add_link("V9/ID-A/to folder", source.root() + "elsewhere");
    source.add_link("V9/ID-A/to file", source.root() + "elsewhere/folder/7");
    source.add_link("V9/ID-A/to nothing", "nowhere");
    source.add_link("V9/ID-A/round/circle", ".");
    source.add_link("V9/ID-A/to pipe", "pipe");
    source.add_link("V7", "V9");
    source.add_link("IMAP-linked", "V9/ID-A/deep");
    add_raw(source, "V9/ID-A/pipe", S_IFIFO);
    add_raw(source, "V9/ID-A/socket", S_IFSOCK);
    for (const QByteArray& name : names_of_no_text) {
        add_raw(source, name, S_IFREG);
    }
    if (QFile::exists("/sys/kernel/uevent_seqnum")) {
        source.add_link("V9/ID-A/ends early", "/sys/kernel/uevent_seqnum");
    }
    source.add_file("Users/bob/Library/Mail/V8/IMAP-b@host/8", QByteArray(300'000, 'b'));
    return {"ann", "bob"};
}

} // namespace

class tst_bulk_extraction : public QObject
{
    Q_OBJECT

private slots:
    void both_ways_data()
    {
        QTest::addColumn<int>("seed"); // 0 stands for the awkward mail
        QTest::addColumn<bool>("with_accounts");
        QTest::addColumn<int>("cancel");
        QTest::newRow("awkward") << 0 << true << int(cancel_point::never);
        QTest::newRow("awkward, without accounts") << 0 << false << int(cancel_point::never);
        QTest::newRow("awkward, cancelled while copying") << 0 << true << int(cancel_point::first_copy);
        QTest::newRow("awkward, cancelled while reading accounts") << 0 << true << int(cancel_point::first_row);
        for (int seed = 1; seed <= 3; ++seed) {
            QTest::addRow("sample %d", seed) << seed << true << int(cancel_point::never);
        }
    }

    void both_ways()
    {
        QFETCH(const int, seed);
        QFETCH(const bool, with_accounts);
        QFETCH(const int, cancel);
        const evidence_source source;
        const auto tidy = qScopeGuard([&source] {
            for (const QByteArray& name : names_of_no_text) {
                ::unlink(raw_path(source, name).constData());
            }
        });
        run_settings settings;
        if (seed == 0) {
            settings.users = add_awkward_mail(source);
        } else {
            QDir(source.root()).rmdir("Users");
            QString error;
            const auto sample =
                write_sample_source({.root = source.root(), .seed = quint32(seed), .messages_per_account = 8}, error);
            QVERIFY2(sample, qUtf8Printable(error));
            settings.users = sample->users;
            settings.additional_mail_versions = QStringList("V10");
        }
        if (!with_accounts) {
            settings.tables.clear();
        }
        const extraction prescribed = extract(source, settings, cancel_point(cancel));
        settings.bulk_copying = true;
        const extraction bulk = extract(source, settings, cancel_point(cancel));

        QVERIFY(prescribed.told.isEmpty() && prescribed.ends.isEmpty());
        QCOMPARE(bulk.ends, cancel == int(cancel_point::first_copy) ? QList<qsizetype>() : QList{bulk.told.size()});
        QVERIFY(!prescribed.copies.isEmpty());
        QCOMPARE(bulk.rows, prescribed.rows);
        QCOMPARE(bulk.log, prescribed.log);
        QCOMPARE(bulk.copies, prescribed.copies);
        QCOMPARE(bulk.first_signal, prescribed.first_signal);
        QCOMPARE(bulk.last_signal, prescribed.last_signal);
        // The one way copies account folders once more, the other only counts what is in them.
        if (!with_accounts || cancel == int(cancel_point::first_copy)) {
            QCOMPARE(bulk.total, prescribed.total);
        }
        qint64 bytes = 0;
        for (const copied_file& file : bulk.told) {
            bytes += file.size;
            const QFileInfo copy(QFile::decodeName(file.destination_path));
            QCOMPARE(copy.exists(), file.result != outcome::failed);
            if (file.result == outcome::copied) {
                QCOMPARE(copy.lastModified(), QFileInfo(QFile::decodeName(file.source_path)).lastModified());
                QCOMPARE(file.sha256,
                         QCryptographicHash::hash(content_of(copy.filePath()), QCryptographicHash::Sha256));
            }
        }
        if (cancel != int(cancel_point::first_copy)) {
            QCOMPARE(bulk.total, QString("copied %1 %2").arg(bulk.told.size()).arg(bytes));
        }
    }

    void a_long_file_can_be_cancelled()
    {
        const evidence_source source;
        source.add_mail("ann", "V9/long");
        QVERIFY(QFile(source.root() + "Users/ann/Library/Mail/V9/long").resize(200'000'000'000));
        driven_plugin plugin(source, {.users = {"ann"}, .bulk_copying = true});
        plugin.on_event = [&plugin](const QString& event) {
            if (event.startsWith("copied")) {
                plugin->pub_cancel_extraction();
            }
        };
        plugin.run();
        QCOMPARE(plugin.copies.size(), 1);
        QCOMPARE(plugin.copies.first().result, outcome::cancelled);
        QCOMPARE(QDir(plugin.mail_copy("ann") + "/V9").entryList(QDir::Files), QStringList());
        QVERIFY(plugin.copied.first().startsWith("copied 0 ") && !plugin.copied.first().endsWith(" 0"));
    }

    void the_host_may_sync_itself_data()
    {
        QTest::addColumn<bool>("syncs");
        QTest::newRow("the object syncs") << true;
        QTest::newRow("the host does") << false;
    }

    void the_host_may_sync_itself()
    {
#ifndef Q_OS_LINUX
        QSKIP("the call is another one");
#else
        QFETCH(const bool, syncs);
        disk_is_lost = true;
        const auto mend = qScopeGuard([] { disk_is_lost = false; });
        const evidence_source source;
        source.add_mail("ann", "V9/folder/1");
        driven_plugin plugin(source, {.users = {"ann"}, .bulk_copying = true});
        QVERIFY(plugin->property("bulk_sync").toBool());
        plugin->setProperty("bulk_sync", syncs);
        plugin.run();
        const auto tells_of = [&plugin](outcome result) {
            return std::count_if(plugin.copies.begin(), plugin.copies.end(),
                                 [result](const copied_file& file) { return file.result == result; });
        };
        QCOMPARE(tells_of(outcome::copied), 1);
        QCOMPARE(tells_of(outcome::unsynced), syncs ? 1 : 0);
#endif
    }
};

QTEST_MAIN(tst_bulk_extraction)
#include "tst_bulk_extraction.moc"
