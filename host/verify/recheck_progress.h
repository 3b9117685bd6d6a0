#pragma once

#include "host/verify/recheck.h"

/// Rechecks as recheck() does, until the user interrupts it; shows on standard error how far it is, unless `quiet`.
recheck_outcome recheck_with_progress(const recheck_request& request, const finding_listener& found, bool quiet);
