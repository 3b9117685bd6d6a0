#pragma once

#include "host/verify/verification.h"

/// Verifies as verify_copies() does, until the user interrupts it; shows on standard error how far it is and says there
/// what is not as it should be. With `quiet` it says only that.
verification_result verify_with_progress(const verification_request& request, bool quiet);
