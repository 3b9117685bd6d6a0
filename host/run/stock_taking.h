#pragma once

#include "host/result/run_record.h"
#include "host/run/preparation.h"

#include <QDate>

/// Looks at what the plug-in left and writes it down in the record: the files of the copied trees, as far as they are
/// no older than `begun`, the rows it wrote, the failures it logged. What cannot be looked at is an error of the
/// record.
void take_stock(const run_plan& plan, QDate begun, run_record& record);
