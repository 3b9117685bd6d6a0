#pragma once

#include "host/self_test/self_test_ground.h"
#include "host/self_test/statements.h"

/// The rows of a result as the program shows them, each without its number and the day of its folder. Throws a failure.
QStringList shown_rows(const QString& program, const QString& result);

/// Every row belongs to an account folder that the volume was written with, and names its account.
void judge_no_invented_account(const self_test_ground& ground, const QString& result, examination& found);
/// Every row names the user and the source that are its own, and every account folder of the volume stands in a record,
/// and in a row where there is one for it.
void judge_association(const self_test_ground& ground, const QString& result, examination& found);
/// The accounts that the write-ahead log alone has stand in records and rows.
void judge_log_honoured(const self_test_ground& ground, const QString& result, examination& found);
/// Every interpreted value of an account has the raw one beside it.
void judge_raw_values(const self_test_ground& ground, const QString& result, examination& found);
/// The counts of run record, rows, manifest and debug log agree.
void judge_counts(const self_test_ground& ground, const QString& result, examination& found);
