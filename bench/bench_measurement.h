#pragma once

#include <QString>

/// The times of one extraction, in seconds.
struct extraction_times
{
    double whole_copy = 0; ///< the copy of the Mail trees
    double walk = 0;       ///< from the end of that copy to the last account folder
    double run = 0;        ///< everything from the call to its return
};

/// Runs one extraction of user "ann" of `source` into the fresh directory `result`.
extraction_times measure_extraction(const QString& source, const QString& result);

/// Copies the files of the Mail tree one by one, their list and their directories made beforehand; returns seconds.
double measure_bare_copy(const QString& source, const QString& result);

/// Lists the Mail tree recursively and does nothing with the entries; returns seconds.
double measure_bare_listing(const QString& source);

/// Returns the largest resident size of this process so far, in MiB.
double peak_memory_mib();
