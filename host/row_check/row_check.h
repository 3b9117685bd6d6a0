#pragma once

#include "host/result/result_paths.h"
#include "host/row_check/expected_rows.h"

/// Holds the table of accounts against what the source demands: which folders have no row although they must have one,
/// and whose row tells of another number of files than its copy takes. Returns a line each, of many only the first,
/// each with path and user; nothing when all is in order.
QStringList problems_of_rows(const row_check_request& request, const result_paths& result);
