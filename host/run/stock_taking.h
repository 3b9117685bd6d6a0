#pragma once

#include "host/result/run_record.h"
#include "host/run/preparation.h"

#include <QDate>

/// Looks at what the plug-in left and writes it down in the record: the files of the copied trees, as far as they are
/// no older than `begun`, the rows it wrote, the failures it logged. Other than the plug-in signalled, their number is
/// an error of the record, as is what cannot be looked at.
void take_stock(const run_plan& plan, QDate begun, qint64 signalled_rows, run_record& record);
