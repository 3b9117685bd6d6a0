#pragma once

#include "host/row_check/expected_rows.h"

/// A Mail version directory and the account store by which its folders are named.
struct store_pair
{
    QByteArray user;
    QByteArray version; ///< below the source
    const account_store_rows* store = nullptr;
};

/// Pairs Mail versions and stores as the plug-in does; what has no store, or none that was read whole, is left out.
/// What cannot be looked at is appended to `problems`, a line each.
std::vector<store_pair> pairs_of_stores(const row_check_request& request, QStringList& problems);
