#include "sample/sample_source.h"
#include "tests/common/driven_plugin.h"
#include "tests/common/files.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct tree_state
{
    qint64 files = 0;
    qint64 bytes = 0;
    qint64 directories = 0;
    QByteArray hash; // of all names, times and contents
};

tree_state examine(const QString& root)
{
    tree_state state;
    QMap<QString, QFileInfo> entries;
    QDirIterator walk(root, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        const QString path = walk.next();
        // Where a link leads is no part of the sample.
        if (!walk.fileInfo().isSymLink()) {
            entries.insert(path.mid(root.size()), walk.fileInfo());
        }
    }
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const auto& [path, entry] : entries.asKeyValueRange()) {
        const QByteArray content = entry.isDir() ? QByteArray() : content_of(entry.filePath());
        const qint64 time = entry.lastModified().toMSecsSinceEpoch();
        hash.addData(path.toUtf8() + '\0' + QByteArray::number(time) + '\0' + content);
        ++(entry.isDir() ? state.directories : state.files);
        state.bytes += content.size();
    }
    state.hash = hash.result();
    return state;
}

/// The sample that the options give; a failure is the test's.
sample_summary sample(const sample_options& options)
{
    QString error;
    const auto summary = write_sample_source(options, error);
    if (!summary) {
        qFatal("%s", qPrintable(error));
    }
    return *summary;
}

/// How many rows SQLite sees in a copy of the store.
QStringList rows_with_identifier(const QString& store, const QString& identifier, bool with_log)
{
    const QTemporaryDir copy;
    const QString path = write_file(copy.filePath("copy.sqlite"), content_of(store));
    if (with_log) {
        write_file(path + "-wal", content_of(store + "-wal"));
    }
    return rows_of(path, "pragma integrity_check") +
           rows_of(path, "select count(*) from ZACCOUNT where ZIDENTIFIER = ?", {identifier});
}

} // namespace

class tst_sample_source : public QObject
{
    Q_OBJECT

private slots:
    void same_options_same_tree()
    {
        const QTemporaryDir folder;
        QList<QByteArray> hashes;
        for (const quint32 seed : {7U, 7U, 8U}) {
            const QString root = folder.filePath(QString::number(hashes.size()));
            sample({.root = root, .seed = seed, .users = 5, .messages_per_account = 4});
            hashes.append(examine(root).hash);
        }
        QCOMPARE(hashes[0], hashes[1]);
        QVERIFY(hashes[0] != hashes[2]);
    }

    void summary_is_true()
    {
        for (const auto& [users, accounts, messages, odd_names] :
             {std::tuple(4, 3, 12, true), {4, 3, 4, false}, {6, 7, 3, true}, {2, 0, 5, true}, {3, 1, 0, true}}) {
            const QTemporaryDir folder;
            const sample_summary summary = sample({folder.path(), 3, users, accounts, messages, odd_names});
            const tree_state state = examine(folder.path());
            QCOMPARE(summary.files, state.files);
            QCOMPARE(summary.bytes, state.bytes);
            QCOMPARE(summary.directories, state.directories);
            QCOMPARE(summary.users.size(), users);
            QCOMPARE(summary.accounts, users * accounts);
            QCOMPARE(QDir(folder.filePath("Users")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), users + 1);
            for (const sample_account_folder& account : summary.account_folders) {
                qint64 visible = 0;
                QDirIterator walk(folder.filePath(account.path), QDir::Files, QDirIterator::Subdirectories);
                for (; walk.hasNext(); walk.next()) {
                    ++visible;
                }
                QCOMPARE(account.visible_files, visible);
                QVERIFY(messages == 0 || visible > 0);
            }
        }
    }

    void last_account_is_in_the_log_only()
    {
        const QTemporaryDir folder;
        const sample_summary summary = sample({.root = folder.path()});
        const QString store = folder.filePath("Users/anna/Library/Accounts/Accounts4.sqlite");
        int in_log_only = 0;
        for (const sample_account_folder& account : summary.account_folders.mid(0, 3)) {
            const QString identifier = account.path.section('/', -1);
            QCOMPARE(rows_with_identifier(store, identifier, true), QStringList({"ok", "1"}));
            QCOMPARE(rows_with_identifier(store, identifier, false),
                     QStringList({"ok", account.only_in_log ? "0" : "1"}));
            in_log_only += account.only_in_log;
        }
        QCOMPARE(in_log_only, 1);
    }

    void messages_are_counted_and_dated()
    {
        const QTemporaryDir folder;
        sample({.root = folder.path()});
        QDirIterator walk(folder.path(), {"*.emlx"}, QDir::Files, QDirIterator::Subdirectories);
        int messages = 0;
        for (; walk.hasNext(); ++messages) {
            const QByteArray message = content_of(walk.next());
            const qsizetype line_end = message.indexOf('\n');
            const qsizetype size = message.left(line_end).trimmed().toLongLong();
            QVERIFY2(message.mid(line_end + 1 + size).startsWith("<?xml"), qPrintable(walk.filePath()));
            const QDateTime modified = walk.fileInfo().lastModified().toUTC();
            QVERIFY2(message.contains(QLocale::c().toString(modified, u"d MMM yyyy HH:mm:ss").toLatin1()),
                     qPrintable(walk.filePath()));
            QVERIFY(modified.date().year() >= 2015 && modified.date().year() <= 2023);
        }
        QVERIFY(messages > 12 * 3 * 4);
    }

    void refuses()
    {
        for (const auto& [root, reason] : {std::pair("full", "full: is not empty"),
                                           {"full/.hidden", ".hidden: is not a directory"},
                                           {"full/.hidden/x", "x: cannot be created"}}) {
            const QTemporaryDir folder;
            write_file(folder.filePath("full/.hidden"));
            QString error;
            QVERIFY(!write_sample_source({.root = folder.filePath(root)}, error));
            QVERIFY2(error.endsWith(reason), qPrintable(error));
            QCOMPARE(examine(folder.path()).files, 1);
        }
    }
};

QTEST_GUILESS_MAIN(tst_sample_source)
#include "tst_sample_source.moc"
