#include "sample/sample_source.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDirIterator>
#include <QSqlDatabase>
#include <QSqlQuery>
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

QByteArray content(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArrayLiteral("unreadable");
}

tree_state examine(const QString& root)
{
    tree_state state;
    QStringList paths;
    QDirIterator walk(root, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (walk.hasNext())
        paths.append(walk.next());
    paths.sort();
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const QString& path : std::as_const(paths)) {
        const QFileInfo entry(path);
        hash.addData(path.mid(root.size()).toUtf8() + '\0' +
                     QByteArray::number(entry.lastModified().toMSecsSinceEpoch()) + '\0');
        if (entry.isDir()) {
            ++state.directories;
            continue;
        }
        ++state.files;
        state.bytes += entry.size();
        hash.addData(content(path));
    }
    state.hash = hash.result();
    return state;
}

/// The rows that SQLite sees in a copy of the store, or -1.
int rows_with_identifier(const QString& store, const QString& identifier, bool with_log)
{
    const QTemporaryDir copy;
    const QString path = copy.filePath(QStringLiteral("copy.sqlite"));
    if (!QFile::copy(store, path) ||
        (with_log && !QFile::copy(store + QStringLiteral("-wal"), path + QStringLiteral("-wal"))))
        return -1;
    int rows = -1;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), path);
        database.setDatabaseName(path);
        QSqlQuery query(database.open() ? database : QSqlDatabase());
        if (query.exec(QStringLiteral("pragma integrity_check")) && query.next() &&
            query.value(0) == QStringLiteral("ok") &&
            query.exec(QStringLiteral("select count(*) from ZACCOUNT where ZIDENTIFIER = '%1'").arg(identifier)) &&
            query.next())
            rows = query.value(0).toInt();
    }
    QSqlDatabase::removeDatabase(path);
    return rows;
}

} // namespace

class tst_sample_source : public QObject
{
    Q_OBJECT

private slots:
    void same_options_same_tree();
    void summary_is_true_data();
    void summary_is_true();
    void last_account_is_in_the_log_only();
    void messages_are_counted_and_dated();
    void refuses_data();
    void refuses();
};

void tst_sample_source::same_options_same_tree()
{
    const QTemporaryDir folder;
    QString error;
    QList<QByteArray> hashes;
    for (const quint32 seed : {7U, 7U, 8U}) {
        const QString root = folder.filePath(QString::number(hashes.size()));
        QVERIFY2(write_sample_source({.root = root, .seed = seed, .users = 6}, error), qPrintable(error));
        hashes.append(examine(root).hash);
    }
    QCOMPARE(hashes[0], hashes[1]);
    QVERIFY(hashes[0] != hashes[2]);
}

void tst_sample_source::summary_is_true_data()
{
    QTest::addColumn<int>("users");
    QTest::addColumn<int>("accounts");
    QTest::addColumn<int>("messages");
    QTest::addColumn<bool>("odd_names");
    QTest::newRow("default") << 4 << 3 << 12 << true;
    QTest::newRow("plain names") << 4 << 3 << 12 << false;
    QTest::newRow("drawn users") << 12 << 7 << 3 << true;
    QTest::newRow("no accounts") << 2 << 0 << 5 << true;
    QTest::newRow("no messages") << 3 << 1 << 0 << true;
}

void tst_sample_source::summary_is_true()
{
    QFETCH(const int, users);
    QFETCH(const int, accounts);
    QFETCH(const int, messages);
    QFETCH(const bool, odd_names);
    const QTemporaryDir folder;
    QString error;
    const auto summary = write_sample_source({folder.path(), 3, users, accounts, messages, odd_names}, error);
    QVERIFY2(summary, qPrintable(error));
    const tree_state state = examine(folder.path());
    QCOMPARE(summary->files, state.files);
    QCOMPARE(summary->bytes, state.bytes);
    QCOMPARE(summary->directories, state.directories);
    QCOMPARE(summary->users.size(), users);
    QCOMPARE(summary->accounts, users * accounts);
    QCOMPARE(QDir(folder.filePath(QStringLiteral("Users"))).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(),
             users + 1);
    for (const sample_account_folder& account : summary->account_folders) {
        qint64 visible = 0;
        QDirIterator walk(folder.filePath(account.path), QDir::Files, QDirIterator::Subdirectories);
        for (; walk.hasNext(); walk.next())
            ++visible;
        QCOMPARE(account.visible_files, visible);
        QVERIFY(messages == 0 || visible > 0);
    }
}

void tst_sample_source::last_account_is_in_the_log_only()
{
    const QTemporaryDir folder;
    QString error;
    const auto summary = write_sample_source({.root = folder.path()}, error);
    QVERIFY2(summary, qPrintable(error));
    int in_log_only = 0;
    for (const sample_account_folder& account : summary->account_folders.mid(0, 3)) {
        const QString store = folder.filePath(QStringLiteral("Users/anna/Library/Accounts/Accounts4.sqlite"));
        const QString identifier = account.path.section(u'/', -1);
        QCOMPARE(rows_with_identifier(store, identifier, true), 1);
        QCOMPARE(rows_with_identifier(store, identifier, false), account.only_in_log ? 0 : 1);
        in_log_only += account.only_in_log;
    }
    QCOMPARE(in_log_only, 1);
}

void tst_sample_source::messages_are_counted_and_dated()
{
    const QTemporaryDir folder;
    QString error;
    QVERIFY2(write_sample_source({.root = folder.path()}, error), qPrintable(error));
    QDirIterator walk(folder.path(), {QStringLiteral("*.emlx")}, QDir::Files, QDirIterator::Subdirectories);
    int messages = 0;
    while (walk.hasNext()) {
        const QByteArray message = content(walk.next());
        const qsizetype line_end = message.indexOf('\n');
        const qsizetype size = message.left(line_end).trimmed().toLongLong();
        QVERIFY2(message.mid(line_end + 1 + size).startsWith("<?xml"), qPrintable(walk.filePath()));
        const QDateTime modified = walk.fileInfo().lastModified().toUTC();
        QVERIFY2(message.contains(QLocale::c().toString(modified, u"d MMM yyyy HH:mm:ss").toLatin1()),
                 qPrintable(walk.filePath()));
        QVERIFY(modified.date().year() >= 2015 && modified.date().year() <= 2023);
        ++messages;
    }
    QVERIFY(messages > 12 * 3 * 4);
}

void tst_sample_source::refuses_data()
{
    QTest::addColumn<QString>("root");
    QTest::addColumn<QString>("reason");
    QTest::newRow("not empty") << QStringLiteral("full") << QStringLiteral("full: is not empty");
    QTest::newRow("a file") << QStringLiteral("full/.hidden") << QStringLiteral(".hidden: is not a directory");
    QTest::newRow("below a file") << QStringLiteral("full/.hidden/x") << QStringLiteral("x: cannot be created");
}

void tst_sample_source::refuses()
{
    QFETCH(const QString, root);
    QFETCH(const QString, reason);
    const QTemporaryDir folder;
    QVERIFY(QDir().mkpath(folder.filePath(QStringLiteral("full"))));
    QFile file(folder.filePath(QStringLiteral("full/.hidden")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QString error;
    QVERIFY(!write_sample_source({.root = folder.filePath(root)}, error));
    QVERIFY2(error.endsWith(reason), qPrintable(error));
    QCOMPARE(examine(folder.path()).files, 1);
}

QTEST_GUILESS_MAIN(tst_sample_source)
#include "tst_sample_source.moc"
