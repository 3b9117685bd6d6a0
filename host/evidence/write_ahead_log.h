#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

/// How much of the beginning of a log's index is wanted.
inline constexpr qsizetype log_index_head_size = 48;

/// Says in one line where the write-ahead log at `path`, a copy of ours, has something that SQLite passes over without
/// a word: a damaged header or frame, a part of a frame, a change without its end. Empty when every frame counts, up to
/// those that an earlier round of the log left behind. `index_head` is what the log's index, the "-shm", begins with:
/// where it is of the same round it tells how many frames there were; it may be empty. Reads the log once, with little
/// memory; `cancelled` ends that early, which is said as well.
QString passed_over_in_log(const QByteArray& path, const QByteArray& index_head,
                           const std::function<bool()>& cancelled);
