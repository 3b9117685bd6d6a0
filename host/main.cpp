#include "host/command_line.h"

#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#endif

int main(int argc, char** argv)
{
#ifdef __GLIBC__
    // By itself it would rise with what is given back, and lists that grow with the files would leave holes behind.
    constexpr int bytes_that_are_mapped = 131'072;
    ::mallopt(M_MMAP_THRESHOLD, bytes_that_are_mapped);
#endif
    return run_command_line(argc, argv);
}
