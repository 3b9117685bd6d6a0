#pragma once

#include "host/report/data.h"

#include <QStringList>

/// Returns what speaks against the result, one line each, the gravest kind first: how its run ended, verifications,
/// seal, faults of the manifest, a database that cannot be read. Empty when nothing that is known does.
QStringList objections_to(const report_data& data);
