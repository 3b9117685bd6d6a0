#include "tests/common/driven_plugin.h"
#include "tests/common/evidence_source.h"
#include "tests/common/files.h"

#include <QCryptographicHash>
#include <QMap>
#include <QTest>

#include <filesystem>

#include <sys/stat.h>

namespace {

/// Everything of a source that an examiner may be asked about, by path. The access time is left out: whether reading a
/// file changes it is the mount's business.
QMap<QString, QString> state_of(const QString& directory)
{
    namespace fs = std::filesystem;
    QMap<QString, QString> states;
    const auto add = [&states](const fs::path& path) {
        struct stat status = {};
        if (lstat(path.c_str(), &status) != 0) {
            qFatal("%s cannot be read", path.c_str());
        }
#ifdef Q_OS_MACOS
        const timespec times[] = {status.st_mtimespec, status.st_ctimespec};
#else
        const timespec times[] = {status.st_mtim, status.st_ctim};
#endif
        const QString name = QString::fromStdString(path.string());
        QString state = QString("inode %1 mode %2 links %3 size %4")
                            .arg(status.st_ino)
                            .arg(status.st_mode, 0, 8)
                            .arg(status.st_nlink)
                            .arg(status.st_size);
        for (const timespec& time : times) {
            state += QString(" time %1.%2").arg(time.tv_sec).arg(time.tv_nsec);
        }
        if (S_ISREG(status.st_mode)) {
            state += QCryptographicHash::hash(content_of(name), QCryptographicHash::Sha256).toHex();
        } else if (S_ISLNK(status.st_mode)) {
            state += QString::fromStdString(fs::read_symlink(path).string());
        }
        states.insert(name, state);
    };
    add(fs::path(directory.toStdString()));
    for (const auto& entry : fs::recursive_directory_iterator(directory.toStdString())) {
        add(entry.path());
    }
    return states;
}

} // namespace

class tst_evidence_untouched : public QObject
{
    Q_OBJECT

private slots:
    void a_run_leaves_no_trace()
    {
        const evidence_source source;
        source.add_mail("ann", "V9/ID-A/1|V9/ID-A/.hidden|V9/IMAP-a@host/1|V8/it's/1|loose");
        source.add_link("V9/dangling", "nowhere");
        source.add_link("V9/linked", "ID-A");
        // The log wants to be worked into the database by whoever opens it.
        source.add_store("ann", "1:ID-A::a@host", "2:it's::log@host");
        source.add_mail("bob", "V3/ID-B/1");
        source.add_file("Users/bob/Library/Accounts/Accounts3.sqlite", "no database");
        QVERIFY(QFile::setPermissions(source.root() + "Users/bob/Library/Accounts/Accounts3.sqlite", QFile::ReadOwner));

        const auto before = state_of(source.root());
        QVERIFY(before.contains(source.root() + "Users/ann/Library/Accounts/Accounts4.sqlite-wal"));
        driven_plugin plugin(source, {.users = {"ann", "bob"}, .clear = true});
        plugin.run();
        plugin.run();
        QVERIFY2(plugin.rows().size() >= 2, "nothing was read");
        const auto after = state_of(source.root());
        QCOMPARE(after.keys(), before.keys());
        for (const QString& path : before.keys()) {
            QVERIFY2(after.value(path) == before.value(path),
                     qPrintable(path + "\nbefore: " + before.value(path) + "\nafter:  " + after.value(path)));
        }
    }
};

QTEST_MAIN(tst_evidence_untouched)
#include "tst_evidence_untouched.moc"
