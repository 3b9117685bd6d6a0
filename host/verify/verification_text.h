#pragma once

#include "host/verify/verification.h"

/// Returns the lines that tell a person what is not as it should be, without the notes; empty when all is whole. Of
/// many failures the first are named and the rest is counted.
QStringList verification_complaints(const verification_result& result);
/// Returns the line that sums a verification up.
QString verification_summary_text(const verification_summary& summary);
