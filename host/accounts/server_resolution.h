#pragma once

#include "host/accounts/account_record.h"
#include "host/accounts/account_store.h"

/// Fills in the servers of a record: the account's own properties first, then its parent's dictionary of the Mail data
/// class, then an Exchange address; for sending, the account that it sends with.
void resolve_servers(const account_store_content& store, const QHash<QString, std::size_t>& by_identifier,
                     const store_account& account, account_record& record);
