#pragma once

#include "host/self_test/self_test_ground.h"
#include "host/self_test/statements.h"

/// Damages a finished run's copies, seal and source one by one and has each verified; what is damaged is put back
/// afterwards, but for the times of the system's own. Appends a statement a damage.
void try_damages(const self_test_ground& ground, const QString& result, statement_list& statements);

/// A verification of an undamaged result finds nothing, and changes nothing that is there but the report.
void judge_quiet_verification(const self_test_ground& ground, const QString& result, examination& found);
