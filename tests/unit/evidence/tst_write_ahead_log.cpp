#include "host/evidence/write_ahead_log.h"
#include "tests/common/files.h"

#include <QTest>
#include <QtEndian>

#include <sqlite3.h>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype header_size = 32;
constexpr qsizetype frame_size = 24 + 4096;

QString passed_over(const QByteArray& content, const QByteArray& index = {})
{
    const QTemporaryDir directory;
    const QString path = write_file(directory.filePath(u"log"_s), content);
    return passed_over_in_log(QFile::encodeName(path), index.left(log_index_head_size), [] { return false; });
}

/// Returns the log that statements leave behind.
QByteArray log_of(const char* statements)
{
    const QTemporaryDir directory;
    const QByteArray path = QFile::encodeName(directory.filePath(u"db"_s));
    sqlite3* connection = nullptr;
    sqlite3_open(path.constData(), &connection);
    const int code = sqlite3_exec(connection, statements, nullptr, nullptr, nullptr);
    const QByteArray log = code == SQLITE_OK ? content_of(QFile::decodeName(path + "-wal")) : QByteArray();
    sqlite3_close(connection);
    return log;
}

constexpr const char* three_changes = "PRAGMA page_size=4096; PRAGMA journal_mode=WAL; CREATE TABLE t(a); "
                                      "INSERT INTO t VALUES('first'); INSERT INTO t VALUES('second')";

} // namespace

class tst_write_ahead_log : public QObject
{
    Q_OBJECT

private slots:
    void what_sqlite_leaves_is_sound_data()
    {
        QTest::addColumn<QByteArray>("statements");
        QTest::newRow("three changes") << QByteArray(three_changes);
        QTest::newRow("begun anew over older frames")
            << QByteArray(three_changes) + "; PRAGMA wal_checkpoint(RESTART); INSERT INTO t VALUES('third'); "
                                           "PRAGMA wal_checkpoint(RESTART); INSERT INTO t VALUES('fourth')";
        QTest::newRow("of large pages") << QByteArray(
            "PRAGMA page_size=65536; PRAGMA journal_mode=WAL; CREATE TABLE t(a)");
    }

    void what_sqlite_leaves_is_sound()
    {
        QFETCH(QByteArray, statements);
        const QByteArray log = log_of(statements);
        QVERIFY(log.size() > frame_size);
        QCOMPARE(passed_over(log), QString());
    }

    // Frames that are gone as a whole are missed by the index alone.
    void index_tells_of_frames_that_are_gone()
    {
        const QTemporaryDir directory;
        const QByteArray path = QFile::encodeName(directory.filePath(u"db"_s));
        sqlite3* connection = nullptr;
        QCOMPARE(sqlite3_open(path.constData(), &connection), SQLITE_OK);
        QCOMPARE(sqlite3_exec(connection, three_changes, nullptr, nullptr, nullptr), SQLITE_OK);
        QByteArray log = content_of(QFile::decodeName(path + "-wal"));
        const QByteArray index = content_of(QFile::decodeName(path + "-shm"));
        sqlite3_close(connection);
        QCOMPARE(passed_over(log, index), QString());
        log.chop(frame_size);
        QCOMPARE(passed_over(log), QString());
        QVERIFY(passed_over(log, index).contains(u"before the last of the 4 frames"_s));
        // What looks like a frame of an earlier round is none where the index knows better.
        log.append(log.last(frame_size));
        qToBigEndian(qFromBigEndian<quint32>(log.constData() + 16) - 7, log.data() + log.size() - frame_size + 8);
        QVERIFY(passed_over(log, index).contains(u"not one of the 4 frames"_s));
        log.chop(frame_size);
        // Of another round it tells nothing.
        QCOMPARE(passed_over(log, QByteArray(index).replace(32, 1, "?")), QString());
    }

    void damage_is_said_with_its_place_data()
    {
        QTest::addColumn<std::function<void(QByteArray&)>>("damage");
        QTest::addColumn<qsizetype>("place");
        const auto row = [](const char* name, qsizetype place, const std::function<void(QByteArray&)>& damage) {
            QTest::newRow(name) << damage << place;
        };
        const auto flip = [](qsizetype at) { return [at](QByteArray& log) { log[at] = char(log[at] ^ 1); }; };
        const qsizetype last = header_size + 3 * frame_size;
        row("header", 0, flip(12));
        row("cut in the header", 20, [](QByteArray& log) { log.truncate(20); });
        row("page", header_size + frame_size, flip(header_size + frame_size + 1000));
        row("salt of the last frame", last, flip(last + 11));
        row("checksum of the last frame", last, flip(last + 20));
        row("last frame's salt and page", last, [=](QByteArray& log) {
            flip(last + 8)(log);
            flip(last + 100)(log);
        });
        row("the only frame's salt", header_size, [=](QByteArray& log) {
            log.truncate(header_size + frame_size);
            qToBigEndian(qFromBigEndian<quint32>(log.constData() + 16) - 7, log.data() + header_size + 8);
        });
        row("cut in a frame", last, [](QByteArray& log) { log.chop(1); });
        row("change without its end", header_size, [](QByteArray& log) { log.truncate(header_size + frame_size); });
    }

    void damage_is_said_with_its_place()
    {
        QFETCH(std::function<void(QByteArray&)>, damage);
        QFETCH(qsizetype, place);
        QByteArray log = log_of(three_changes);
        QCOMPARE(log.size(), header_size + 4 * frame_size);
        damage(log);
        const QString said = passed_over(log);
        QVERIFY2(said.contains(u"at byte %1 ("_s.arg(place)), qUtf8Printable(said));
    }
};

QTEST_APPLESS_MAIN(tst_write_ahead_log)
#include "tst_write_ahead_log.moc"
