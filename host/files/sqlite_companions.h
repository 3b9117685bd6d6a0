#pragma once

#include <array>

/// What SQLite appends to a database's name for the files of its own beside it: the write-ahead log, the log's index,
/// and the rollback journal. While one is there, the database alone does not tell everything.
inline constexpr std::array<const char*, 3> sqlite_companions = {"-wal", "-shm", "-journal"};
