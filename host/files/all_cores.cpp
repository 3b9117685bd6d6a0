#include "host/files/all_cores.h"

#include <QThread>

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

std::size_t core_count()
{
    return std::size_t(std::max(1, QThread::idealThreadCount()));
}

void for_each_on_all_cores(std::size_t count, const std::function<void(std::size_t number)>& work,
                           std::size_t for_a_thread)
{
    std::atomic<std::size_t> next{0};
    const auto work_off = [&] {
        for (std::size_t number = next++; number < count; number = next++) {
            work(number);
        }
    };
    std::vector<std::thread> helpers;
    for (std::size_t i = 1; i < std::min(core_count(), count / for_a_thread); ++i) {
        try {
            helpers.emplace_back(work_off);
        } catch (const std::system_error&) {
            break; // a machine without a thread to spare
        }
    }
    work_off();
    for (std::thread& helper : helpers) {
        helper.join();
    }
}
