#pragma once

#include "host/self_test/self_test_ground.h"
#include "host/self_test/statements.h"

/// Results that lie in the source, lead out of their place, cannot be written or take no more.
void try_destinations(const self_test_ground& ground, statement_list& statements);

/// Evidence that cannot be taken as a whole; the volume is made awkward for it, and stays so. `whole` is a result of
/// the volume as it was.
void try_awkward_evidence(const self_test_ground& ground, const QString& whole, statement_list& statements);
