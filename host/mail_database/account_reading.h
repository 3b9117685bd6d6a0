#pragma once

#include "host/accounts/account_record.h"
#include "host/result/result_paths.h"

/// Reads the accounts of a result back from its mail.sqlite. Throws a failure when there is none, or another schema.
account_dossier read_accounts(const result_paths& result);

/// Returns the accounts that share an account's parent, itself left out: those that are named, and how many more.
std::pair<QList<account_name>, qint64> siblings_of(const account_dossier& dossier, const account_record& record);
