#include "host/command_line.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

#ifdef __GLIBC__
#include <malloc.h>
#endif

int main(int argc, char** argv)
{
#ifdef __GLIBC__
    // By itself it would rise with what is given back, and lists that grow with the files would leave holes behind.
    constexpr int bytes_that_are_mapped = 131'072;
    ::mallopt(M_MMAP_THRESHOLD, bytes_that_are_mapped);
    // One pool a core is enough, where each thread would begin one of its own and keep it.
    ::mallopt(M_ARENA_MAX, int(std::max(1U, std::thread::hardware_concurrency())));
#endif
    return run_command_line(argc, argv);
}
