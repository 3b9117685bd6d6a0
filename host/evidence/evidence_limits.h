#pragma once

#include <QtGlobal>

#include <functional>

/// What the reading of one evidence database may take. A database may be forged to run for ever or to fill the memory.
struct evidence_limits
{
    qint64 milliseconds = 10'000; ///< of the thread's work from opening on, for up to 100 MB; more in proportion
    qint64 heap_bytes = qint64(128) << 20;   ///< that SQLite may take beyond what it holds at opening
    qint64 longest_value = qint64(16) << 20; ///< bytes of one text or blob; a row with a longer one fails
    qint64 largest_file = qint64(8) << 30;   ///< bytes of the database or of its log; not copied beyond
    bool also_alone = true;                  ///< copy once more for reading without the log; else only with
    std::function<bool()> cancelled = [] { return false; }; ///< true ends copying and reading
};
