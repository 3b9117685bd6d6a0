#pragma once

#include "host/completeness/completeness.h"

/// What was counted while looking, apart from the classes.
struct counted_apart
{
    qint64 files = 0;           ///< names of messages met, both of a pair
    qint64 told_index_only = 0; ///< messages of the index alone that were listed
    bool has_index = false;     ///< an index was opened
};

/// Compares what the classes add up to with what was counted another way; returns a line for each sum that does not
/// close.
QStringList sums_that_do_not_close(const store_completeness& store, const counted_apart& counted);
