#pragma once

#include "host/extraction/extraction.h"
#include "host/result/result_paths.h"
#include "host/source/copy_walk.h"

/// Returns what lies in the result and a run does not need room for: with `clear` all copies and products, since it
/// removes them or does not make them again, else the copies of its users and of today, since the plug-in never copies
/// over a file.
copy_walk::amount earlier_amount(const result_paths& result, const extraction_settings& settings);

/// Returns the number of dated folders of a result.
qint64 count_earlier_copies(const result_paths& result);

/// Removes the dated folders of a result. A link is never one, and nothing else is touched.
/// Throws a failure when one cannot be removed.
void remove_earlier_copies(const result_paths& result);

/// Removes manifest, sums and report where no run has left a record of them, because they would pass for this run's.
/// Throws a failure.
void remove_stray_products(const result_paths& result);

/// Removes the table of accounts, whose rows a run makes anew: its schema may be somebody else's. Throws a failure.
void remove_earlier_database(const result_paths& result);

/// Empties the plug-in's folder for working copies: a companion left there would be taken for the next store's. Throws
/// a failure.
void empty_scratch(const result_paths& result);

/// Removes what the plug-in left in that folder at its end, and returns a line on what stays; empty when nothing does.
/// A link in the folder's place is left alone.
QString clear_left_scratch(const result_paths& result);

/// Removes what earlier runs said about a result: everything in the program's own folder but
/// the record, which the next run writes over, the log, which it goes on with, and the lock. Throws a failure when that
/// fails, because they would pass for this run's.
void remove_earlier_products(const result_paths& result);
