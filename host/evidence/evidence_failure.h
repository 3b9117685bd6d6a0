#pragma once

#include "host/text/failure.h"

/// Says in one line why a database of the evidence, which the line names, cannot be read, or not further.
class evidence_failure : public failure
{
public:
    using failure::failure;
};
