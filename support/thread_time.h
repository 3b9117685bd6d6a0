#pragma once

#include <QtGlobal>

#include <time.h>

/// Returns for how long this thread has worked, in nanoseconds. A limit on it ends what works for ever, and never what
/// waits for a busy machine: which of a store's rows are read must not depend on what else runs beside.
inline qint64 thread_time()
{
    timespec worked = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &worked);
    return qint64(worked.tv_sec) * 1'000'000'000 + worked.tv_nsec;
}
