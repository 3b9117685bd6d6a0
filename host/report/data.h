#pragma once

#include "host/report/account_rows.h"
#include "host/report/proof.h"
#include "host/result/result_paths.h"
#include "host/result/run_record.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

/// Everything the report shows: what the run left, and what the last verification since then found. What could not be
/// read is absent, and `notes` says so.
struct report_data
{
    result_paths result;
    std::optional<run_record> run = {};
    std::optional<report_manifest> manifest = {};
    report_proof proof = {};
    QList<report_user> users = {}; ///< sorted by name
    bool failures_known = false;   ///< the run record or the log could be read for them
    qint64 failures = 0;
    QStringList failure_lines = {}; ///< limited
    QStringList notes = {};         ///< one line each
    QStringList unreadable = {};    ///< what must be there and cannot be read: run record, table of accounts
};

/// Reads a result directory. What lies in the folders of accounts is looked at where no manifest tells, unless it is
/// `known`; what the report is made from is held against the seal, unless that was made a moment ago. Throws a failure
/// when no run has left a trace and the table of accounts cannot be read.
report_data load_report_data(const result_paths& result, const folder_amounts& known = {},
                             const result_seal* sealed_now = nullptr);
