#include "bench/bench_turns.h"

#include <iostream>
#include <string>

namespace {

constexpr double turn_length = 0.2;

void wait_for_turn()
{
    std::string line;
    std::getline(std::cin, line);
}

} // namespace

bench_turns::bench_turns()
{
    wait_for_turn();
}

void bench_turns::add(qint64 files)
{
    turn_files += files;
    turn_seconds += elapsed_seconds(timer);
    if (turn_seconds >= turn_length) {
        std::cout << turn_files << ' ' << turn_seconds << std::endl;
        wait_for_turn();
        turn_files = 0;
        turn_seconds = 0;
    }
    timer.start();
}

double elapsed_seconds(const QElapsedTimer& timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}
