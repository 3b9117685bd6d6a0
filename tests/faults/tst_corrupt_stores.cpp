#include "tests/common/files.h"
#include "tests/faults/trial_ground.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

#include <functional>
#include <random>
#include <sys/stat.h>

namespace {

const QStringList store_files{"Accounts4.sqlite", "Accounts4.sqlite-wal", "Accounts4.sqlite-shm",
                              "Accounts4.sqlite-journal"};

/// What SQLite itself says of a copy of the store; "ok" when it sees no damage.
QString check_of(const QString& accounts)
{
    const QTemporaryDir workshop;
    for (const QString& name : store_files) {
        if (QFileInfo(accounts + name).isFile()) {
            QFile::copy(accounts + name, workshop.filePath(name));
        }
    }
    QString found = "does not open";
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "check");
        database.setDatabaseName(workshop.filePath(store_files[0]));
        database.open();
        QSqlQuery query("PRAGMA quick_check", database);
        if (query.next()) {
            found = query.value(0).toString();
        }
        database.close();
    }
    QSqlDatabase::removeDatabase("check");
    return found;
}

} // namespace

/// Damages and replaces the files of an account store: the program ends, in time, and rows that are lost are said.
class tst_corrupt_stores : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QCOMPARE(ground.run(ground.run_arguments(), {}).exit_code, 0);
        undisturbed = ground.content();
        for (const QString& name : store_files.mid(0, 2)) {
            whole.append(content_of(accounts + name));
        }
    }

    void init()
    {
        QDir(accounts).removeRecursively();
        for (qsizetype i = 0; i < whole.size(); ++i) {
            write_file(accounts + store_files[i], whole[i]);
        }
        ground.empty_result();
    }

    void lost_rows_of_a_damaged_store_are_said()
    {
        complaint_list complaints;
        for (int trial = 0; trial < attack_trials(40); ++trial) {
            init();
            const int damaged = int(random() % 2);
            const QString what = damage(whole[damaged]);
            const QString text = QString("%1 %2: ").arg(store_files[damaged], what);
            write_file(accounts + store_files[damaged], altered);
            for (const QString& complaint : complaints_of_run(damaged == 1)) {
                complaints += text + complaint;
            }
        }
        QCOMPARE(complaints.count, 0);
    }

    void what_is_no_file_is_said_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("kind");
        for (const QString& name : store_files) {
            for (const char* kind : {"pipe", "directory", "link", "dangling link"}) {
                // The index is made anew from the log, so that only waiting for it would do harm.
                if (!name.endsWith("-shm") || kind == QByteArray("pipe")) {
                    QTest::addRow("%s as %s", qPrintable(name), kind) << name << kind;
                }
            }
        }
    }

    void what_is_no_file_is_said()
    {
        QFETCH(QString, name);
        QFETCH(QString, kind);
        const QByteArray path = QFile::encodeName(accounts + name);
        const QString outside = ground.result() + "/../outside";
        QFile::remove(accounts + name);
        if (kind == "pipe") {
            QCOMPARE(::mkfifo(path.constData(), 0600), 0);
        } else if (kind == "directory") {
            QVERIFY(QDir().mkpath(accounts + name));
        } else {
            write_file(outside, whole[name.endsWith("-wal") ? 1 : 0]);
            QVERIFY(QFile::link(kind == "link" ? outside : outside + "-absent", accounts + name));
        }
        const auto before = ground.source_state();
        const trial_ending ending = ground.run(ground.run_arguments(), {});
        QVERIFY2(ending.said.contains(name.toUtf8()), ending.said.left(400).constData());
        // A link that leaves the source is refused before anything starts.
        QVERIFY2(ending.exit_code == 3 || (kind == "link" && ending.exit_code == 1),
                 qPrintable(QString::number(ending.exit_code)));
        QVERIFY(ground.source_state() == before);
    }

private:
    QStringList complaints_of_run(bool log_was_damaged)
    {
        const auto before = ground.source_state();
        const trial_ending ending = ground.run(ground.run_arguments(), {});
        QStringList found;
        if (ending.exit_code < 0) {
            found.append("crashed or hung");
        }
        if (ground.source_state() != before) {
            found.append("the source was changed");
        }
        const qsizetype rows = ground.content().rows.size();
        if (ending.exit_code == 0 && rows < undisturbed.rows.size()) {
            const QString check = check_of(accounts);
            if (log_was_damaged || check != "ok") {
                found.append(
                    QString("ended with 0 and %1 of %2 rows (%3)").arg(rows).arg(undisturbed.rows.size()).arg(check));
            }
        }
        return found;
    }

    /// Alters a copy of the content in one of several ways and returns what it did.
    QString damage(const QByteArray& content)
    {
        altered = content;
        const auto drawn = [this](qsizetype below) { return qsizetype(random() % quint32(below)); };
        constexpr qsizetype page = 4096;
        const qsizetype at = drawn(content.size());
        switch (random() % 4) {
        case 0:
            altered[at] = char(altered[at] ^ (1 << drawn(8)));
            return QString("bit flipped at %1").arg(at);
        case 1:
            altered.truncate(at);
            return QString("cut off at %1").arg(at);
        case 2: {
            const qsizetype length = std::min(page, content.size() - at);
            for (qsizetype i = 0; i < length; ++i) {
                altered[at + i] = char(random());
            }
            return QString("%1 bytes of noise at %2").arg(length).arg(at);
        }
        default: {
            const qsizetype left = drawn(content.size() / page) * page;
            const qsizetype right = drawn(content.size() / page) * page;
            altered.replace(left, page, content.mid(right, page)).replace(right, page, content.mid(left, page));
            return QString("pages at %1 and %2 swapped").arg(left).arg(right);
        }
        }
    }

    const trial_ground ground;
    const QString accounts = ground.source.root() + "Users/anna/Library/Accounts/";
    result_content undisturbed;
    QByteArrayList whole;
    QByteArray altered;
    std::mt19937 random{attack_seed()};
};

QTEST_GUILESS_MAIN(tst_corrupt_stores)
#include "tst_corrupt_stores.moc"
