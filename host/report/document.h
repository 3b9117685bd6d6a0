#pragma once

#include "host/report/account_rows.h"
#include "host/result/result_paths.h"
#include "host/result/seal.h"

#include <QString>
#include <QStringList>

/// What a report says first.
struct report_outcome
{
    QStringList objections; ///< what speaks against the result, one line each; empty for a page that is not red
    QStringList unread;     ///< those of them that say what the report is made from and could not be read
};

/// Writes the report of a result directory as one HTML file, replacing an earlier one in one step. What the result
/// lacks is said in the report. Throws a failure when nothing of a result is there or no file can be written, and when
/// the file would lie in the source. What is `known` spares looking at folders of accounts, and the seal of a result
/// that was sealed a moment ago spares reading what was read for it.
report_outcome write_report(const result_paths& result, const QString& output, const folder_amounts& known = {},
                            const result_seal* sealed_now = nullptr);
