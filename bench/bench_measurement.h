#pragma once

#include "bench/bench_turns.h"

#include <QString>

/// Extracts user "ann", who has no account folders, of `source` with so many files into the fresh directory `result`,
/// the whole-tree copy in turns.
void extract_in_turns(const QString& source, int files, const QString& result, bench_turns& turns);

/// Extracts once more into `result`, where every copy is refused; returns the time of the walk after the copies,
/// divided by that of a bare recursive listing of the same files.
double walk_ratio(const QString& source, int files, const QString& result);

/// Copies the files of the Mail tree into the fresh directory `result` by a loop of QFile::copy, in turns; their list
/// and their directories are made outside of the time.
void copy_in_turns(const QString& source, const QString& result, bench_turns& turns);

/// Extracts user "ann" of `source` into the fresh directory `result`; returns the seconds.
double extract(const QString& source, const QString& result);

/// Returns the largest resident size of this process so far, in MB (10^6 bytes).
double peak_memory_mb();
