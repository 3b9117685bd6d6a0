#pragma once

#include <QtGlobal>

#include <compare>

/// A time as a file system keeps it, UTC. Seconds and nanoseconds stay apart, because a file system holds times that no
/// single 64-bit number of nanoseconds can tell: before 1677 and after 2262.
struct file_time
{
    qint64 seconds = 0;     ///< since 1970
    qint32 nanoseconds = 0; ///< of that second, 0 to 999,999,999

    auto operator<=>(const file_time&) const = default;
};
