#pragma once

#include "host/accounts/account_record.h"
#include "host/accounts/account_store.h"

#include <QSet>

/// The records of one store.
struct store_records
{
    std::vector<account_record> records;
    std::vector<qint64> keys; ///< of their rows, by record
    std::vector<account_family> families;
};

/// Makes a record of each row that concerns mail: by its type, by the Mail data class of itself or its parent, or
/// because an account folder bears its identifier. `folder_identifiers` are in upper case. Leaves user, store, row,
/// status and folders empty.
store_records make_account_records(const account_store_content& store, const QSet<QString>& folder_identifiers);
