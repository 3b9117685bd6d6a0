#pragma once

#include "host/result/path_set.h"
#include "host/result/result_paths.h"

#include <QByteArray>

#include <functional>
#include <set>

/// Calls `found` for each file that lies among the copies and the kept evidence of a result and is none of them, and
/// for each directory there that cannot be listed: whoever put it there, it must not pass for evidence. The copies are
/// everything below `copy_directories`, `kept` holds the kept files, all relative to the result. False when `found`
/// stopped the search.
bool find_stray_files(const result_paths& result, const std::set<QByteArray>& copy_directories, path_set& kept,
                      const std::function<bool(const QByteArray& path)>& found);
