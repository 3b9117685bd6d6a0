#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

/// Says in one line where the write-ahead log at `path`, a copy of ours, has something that SQLite passes over without
/// a word: a damaged header or frame, a part of a frame, a change without its end. Empty when every frame counts, up to
/// those that an earlier round of the log left behind. Reads it once, with little memory; `cancelled` ends that early,
/// which is said as well.
QString passed_over_in_log(const QByteArray& path, const std::function<bool()>& cancelled);
