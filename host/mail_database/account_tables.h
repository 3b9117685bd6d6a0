#pragma once

#include "host/accounts/account_record.h"
#include "host/mail_database/database_writer.h"

/// Adds the tables of accounts with everything that a dossier holds; docs/results.md describes them.
void write_account_tables(mail_database_writer& writer, const account_dossier& dossier);
