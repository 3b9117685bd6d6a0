#pragma once

#include "host/result/result_paths.h"
#include "host/run/extraction.h"

/// Returns the bytes of the copies that lie in the result and that a run does not need room for: with `clear` all of
/// them, since it removes them, else those of its users and of today, since the plug-in never copies over a file.
qint64 bytes_of_earlier_copies(const result_paths& result, const extraction_settings& settings);

/// Removes the dated folders of a result and returns their number. A link is never one, and nothing else is touched.
/// Throws a failure when one cannot be removed.
qint64 remove_earlier_copies(const result_paths& result);

/// Removes what earlier runs said about a result: manifest, sums and report, with the unfinished ones that a killed run
/// left. Throws a failure when that fails, because they would pass for this run's.
void remove_earlier_products(const result_paths& result);
