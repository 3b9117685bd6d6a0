#include "host/files/all_cores.h"

#include <QTest>

#include <atomic>
#include <set>
#include <vector>

#if defined(__linux__)
#include <sched.h>
#endif

class tst_all_cores : public QObject
{
    Q_OBJECT

private slots:
    void every_number_comes_once_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("for_a_thread");
        for (const auto& [count, for_a_thread] : {std::pair(0, 1), {1, 1}, {2, 1}, {31, 32}, {1000, 1}}) {
            QTest::addRow("%d, %d a thread", count, for_a_thread) << count << for_a_thread;
        }
    }

    void every_number_comes_once()
    {
        QFETCH(const int, count);
        QFETCH(const int, for_a_thread);
        std::vector<std::atomic<int>> times(static_cast<std::size_t>(count));
        for_each_on_all_cores(
            times.size(), [&times](std::size_t number) { ++times[number]; }, std::size_t(for_a_thread));
        QVERIFY(std::all_of(times.begin(), times.end(), [](const std::atomic<int>& one) { return one == 1; }));
    }

    void two_work_at_a_time()
    {
        if (core_count() < 2) {
            QSKIP("one core");
        }
        // Neither of the first two ends before the other has begun.
        std::atomic<int> begun = 0;
        for_each_on_all_cores(
            2,
            [&begun](std::size_t) {
                ++begun;
                QTRY_VERIFY_WITH_TIMEOUT(begun == 2, 60'000);
            },
            1);
        QCOMPARE(begun.load(), 2);
    }

#if defined(__linux__)
    void cores_that_were_not_given_do_not_count()
    {
        cpu_set_t given;
        QCOMPARE(::sched_getaffinity(0, sizeof given, &given), 0);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(::sched_getcpu(), &one);
        QCOMPARE(::sched_setaffinity(0, sizeof one, &one), 0);
        const std::size_t kept_to_one = core_count();
        QCOMPARE(::sched_setaffinity(0, sizeof given, &given), 0);
        QCOMPARE(kept_to_one, std::size_t(1));
        QCOMPARE(core_count(), std::size_t(CPU_COUNT(&given)));
    }
#endif
};

QTEST_APPLESS_MAIN(tst_all_cores)
#include "tst_all_cores.moc"
