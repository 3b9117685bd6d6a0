#pragma once

#include "host/text/failure.h"

/// Returns what the failure says that an operation throws; empty when it throws none.
template <typename operation>
QString failure_text(const operation& tried)
{
    try {
        tried();
    } catch (const failure& thrown) {
        return thrown.message();
    }
    return {};
}
