#pragma once

#include "sample/sample_cast.h"
#include "sample/sample_writer.h"

/// Writes the user's account stores below Users/<name>/Library/Accounts, each with its log; nothing for a user without
/// a store. False, with one line in `error`, when a database could not be made.
bool write_account_stores(sample_writer& writer, const sample_user& user, QString& error);
