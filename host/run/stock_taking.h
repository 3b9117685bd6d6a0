#pragma once

#include "host/result/run_record.h"
#include "host/run/copies_of_run.h"
#include "host/run/preparation.h"

#include <QDate>

/// Looks at what the plug-in left and writes it down in the record: the files of the copied trees, as far as they are
/// no older than `begun`, without a look where the copies told of them, the rows it wrote, the failures it logged.
/// Other than the plug-in signalled, their number is an error of the record, as is what cannot be looked at.
void take_stock(const run_plan& plan, QDate begun, qint64 signalled_rows, const copies_of_run& copies,
                run_record& record);
