#pragma once

#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#endif

/// Gives memory that is free back to the system, where it would otherwise stay beside what is allocated from now on; to
/// be called where much was given up. Not free itself: takes milliseconds.
inline void give_spare_memory_back()
{
#ifdef __GLIBC__
    ::malloc_trim(0);
#endif
}
