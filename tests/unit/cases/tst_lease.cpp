#include "host/cases/attempt.h"
#include "host/cases/generations.h"
#include "host/cases/lease_beats.h"
#include "tests/common/failure_text.h"
#include "tests/common/files.h"

#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <filesystem>
#include <random>
#include <thread>
#include <vector>

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

const lease_times long_times{60'000, 4};
const lease_times short_times{50, 2};

/// Makes the lease look as if its last sign of life came earlier, or later, than now by the file server's clock.
void shift_lease(const QString& directory, std::chrono::seconds by)
{
    const fs::path path = (directory + "/lease").toStdString();
    fs::last_write_time(path, fs::file_time_type::clock::now() + by);
}

/// The same, where others may move the lease away for a moment.
void make_stale(const QString& directory)
{
    const auto long_ago = fs::file_time_type::clock::now() - 1h;
    std::error_code error;
    do {
        fs::last_write_time((directory + "/lease").toStdString(), long_ago, error);
    } while (error);
}

case_source source_in(const QTemporaryDir& directory)
{
    return {1, "EV", "../a", directory.path(), false};
}

std::optional<lease> take(const QTemporaryDir& directory, const lease_times& times = long_times)
{
    lease_view holder;
    return lease::take(directory.path(), times, 1, holder);
}

} // namespace

class tst_lease : public QObject
{
    Q_OBJECT

private slots:
    void one_of_many_gets_it_data()
    {
        QTest::addColumn<bool>("is_stale_one_there");
        QTest::newRow("no lease") << false;
        QTest::newRow("one of a lost task") << true;
    }
    void one_of_many_gets_it()
    {
        QFETCH(bool, is_stale_one_there);
        for (int round = 0; round < 20; ++round) {
            QTemporaryDir directory;
            if (is_stale_one_there) {
                write_file(directory.filePath("lease"), "{\"generation\": 7, \"node\": \"gone\"}");
                shift_lease(directory.path(), -1h);
            }
            std::vector<std::optional<lease>> leases(8);
            std::vector<std::thread> threads;
            threads.reserve(leases.size());
            for (std::optional<lease>& mine : leases) {
                threads.emplace_back([&] { mine = take(directory); });
            }
            for (std::thread& thread : threads) {
                thread.join();
            }
            int held = 0;
            for (const std::optional<lease>& mine : leases) {
                held += mine && mine->is_held() ? 1 : 0;
            }
            QCOMPARE(held, 1);
        }
    }

    void the_next_attempt_has_a_name_that_is_read_back()
    {
        QTemporaryDir directory;
        write_file(directory.filePath("lease"), "{\"generation\": 9223372036854775807}");
        shift_lease(directory.path(), -1h);
        const auto taken = take(directory);
        QVERIFY(taken);
        QCOMPARE(generation_of_attempt(attempt_name(taken->generation(), "n")), taken->generation());
        QVERIFY(!generation_of_attempt("attempt-1-n\n"));
        QCOMPARE(index_of_source_directory(source_directory_name(2'147'483'647, "EV")), 2'147'483'647);
        QVERIFY(!index_of_source_directory("0001\n") && !index_of_source_directory("2147483648"));
    }

    void age_by_the_file_server_data()
    {
        QTest::addColumn<int>("shift_s");
        QTest::addColumn<bool>("is_taken_over");
        QTest::newRow("just now") << 0 << false;
        QTest::newRow("three beats ago") << -180 << false;
        QTest::newRow("four beats ago") << -241 << true;
        QTest::newRow("a little ahead") << 60 << false;
        QTest::newRow("far ahead") << 3600 << true;
        QTest::newRow("before 1970") << -2'000'000'000 << true;
    }
    void age_by_the_file_server()
    {
        QFETCH(int, shift_s);
        QTemporaryDir directory;
        const auto first = take(directory);
        shift_lease(directory.path(), std::chrono::seconds(shift_s));
        const auto second = take(directory);
        QTEST(second.has_value(), "is_taken_over");
        QVERIFY(!second || second->generation() > first->generation());
        QCOMPARE(first->is_held(), !second);
    }

    void damaged_lease_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("no JSON") << QByteArray("{\"generation\"");
        QTest::newRow("another object") << QByteArray("[1]");
        QTest::newRow("hostile numbers") << QByteArray(
            "{\"generation\": -1e300, \"beat_ms\": 1e18, \"missed_beats\": -3}");
    }
    void damaged_lease()
    {
        QFETCH(QByteArray, content);
        QTemporaryDir directory;
        write_file(directory.filePath("lease"), content);
        QVERIFY(!take(directory));
        shift_lease(directory.path(), -24h * 365);
        QVERIFY(take(directory));
    }

    void unreadable_lease_is_named()
    {
        QTemporaryDir directory;
        QVERIFY(QDir().mkdir(directory.filePath("lease")));
        const QString said = failure_text([&directory] { take(directory); });
        QVERIFY2(said.contains(directory.filePath("lease")), qPrintable(said));
    }

    void signs_of_life_keep_it()
    {
        QTemporaryDir directory;
        auto first = take(directory, {50, 40});
        {
            // Nothing that the task does meanwhile, or waits for, holds them up.
            const lease_beats beats(*first);
            for (int i = 0; i < 3; ++i) {
                QTest::qSleep(1000);
                QVERIFY(!take(directory));
            }
            QVERIFY(!beats.is_lost());
        }
        QTest::qSleep(2200);
        const auto second = take(directory);
        QVERIFY(second);
        const lease_beats late(*first);
        QTRY_VERIFY(late.is_lost());
        // Giving back what is lost takes nothing from the new holder.
        first->release();
        QVERIFY(second->is_held());
    }

    void generations_only_rise()
    {
        QTemporaryDir directory;
        std::mutex mutex;
        std::vector<qint64> generations;             // in the order in which they were held
        std::vector<std::optional<lease>> abandoned; // of tasks that gave no further sign of life
        const auto task = [&](unsigned seed) {
            std::minstd_rand draw(seed);
            for (int turn = 0; turn < 150; ++turn) {
                auto mine = take(directory);
                if (!mine) {
                    continue;
                }
                const std::lock_guard lock(mutex);
                if (!mine->is_held()) {
                    continue;
                }
                generations.push_back(mine->generation());
                if (draw() % 2 == 0) {
                    make_stale(directory.path());
                    abandoned.push_back(std::move(mine));
                }
            }
        };
        std::vector<std::thread> threads;
        for (unsigned i = 1; i <= 8; ++i) {
            threads.emplace_back(task, i);
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QVERIFY(generations.size() > 1); // how often depends on how the threads meet
        QVERIFY(std::is_sorted(generations.begin(), generations.end(), std::less_equal<>()));
        QVERIFY(look_at_claims(directory.path()).number >= generations.back());
    }

    void a_lost_attempt_does_not_count()
    {
        QTemporaryDir directory;
        const case_source source = source_in(directory);
        auto stopped_lease = take(directory, short_times);
        const auto stopped = attempt::begin(source, *stopped_lease);
        QVERIFY(stopped);
        QTest::qSleep(200);
        auto next_lease = take(directory, long_times);
        QVERIFY(next_lease && next_lease->generation() == 2);
        const auto next = attempt::begin(source, *next_lease);
        QVERIFY(next);
        QCOMPARE(stopped->make_whole(false).outcome, claim::gone);
        QCOMPARE(stopped->make_whole(true).outcome, claim::gone);
        QVERIFY(!fs::is_symlink(source.file("whole").toStdString()));
        QCOMPARE(next->make_whole(false).outcome, claim::made);
        QCOMPARE(fs::read_symlink(source.file("whole").toStdString()).string(), next->name().toStdString());
    }

    void an_attempt_begun_late_sees_the_loss()
    {
        QTemporaryDir directory;
        auto stopped_lease = take(directory, short_times);
        QTest::qSleep(200);
        auto next_lease = take(directory, long_times);
        QVERIFY(next_lease);
        // As if stopped between lease and attempt: the one that took over has seen no token.
        QVERIFY(attempt::begin(source_in(directory), *next_lease));
        QVERIFY(!attempt::begin(source_in(directory), *stopped_lease));
    }

    void whole_is_made_once_data()
    {
        QTest::addColumn<int>("way");
        QTest::newRow("in one call") << static_cast<int>(renaming::in_one_call);
        QTest::newRow("by a link") << static_cast<int>(renaming::by_link);
    }
    void whole_is_made_once()
    {
        QFETCH(int, way);
        QTemporaryDir directory;
        const auto rename = [&](const QString& from) {
            return rename_link_by(static_cast<renaming>(way), directory.filePath(from), directory.filePath("whole"));
        };
        QCOMPARE(make_link("one", directory.filePath("a")).outcome, claim::made);
        QCOMPARE(make_link("two", directory.filePath("b")).outcome, claim::made);
        const auto first = rename("a");
        if (!first) {
            QSKIP("this file system cannot rename so");
        }
        QCOMPARE(first->outcome, claim::made);
        QCOMPARE(rename("b")->outcome, claim::exists);
        QCOMPARE(rename("a")->outcome, claim::gone);
        QCOMPARE(fs::read_symlink(directory.filePath("whole").toStdString()).string(), std::string("one"));
    }
};

QTEST_GUILESS_MAIN(tst_lease)
#include "tst_lease.moc"
