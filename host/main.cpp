#include "host/command_line.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

#ifdef __GLIBC__
#include <malloc.h>
#endif
#ifdef __linux__
#include <fcntl.h>
#include <unistd.h>
#endif

int main(int argc, char** argv)
{
#ifdef __GLIBC__
    // By itself it would rise with what is given back, and lists that grow with the files would leave holes behind.
    constexpr int bytes_that_are_mapped = 131'072;
    ::mallopt(M_MMAP_THRESHOLD, bytes_that_are_mapped);
    // Nor is the end of the memory given back and taken again with each directory.
    constexpr int bytes_kept_at_the_end = 2'097'152;
    ::mallopt(M_TRIM_THRESHOLD, bytes_kept_at_the_end);
    // One pool a core is enough, where each thread would begin one of its own and keep it.
    ::mallopt(M_ARENA_MAX, int(std::max(1U, std::thread::hardware_concurrency())));
#endif
#ifdef __linux__
    // The table of open files begins with 64. Once there are threads, whoever makes it grow waits until no core can be
    // using the old one, which takes ten milliseconds where all cores are busy.
    constexpr int most_files_at_a_time = 512;
    ::close(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, most_files_at_a_time - 1));
#endif
    return run_command_line(argc, argv);
}
