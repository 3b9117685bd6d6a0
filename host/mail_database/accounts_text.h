#pragma once

#include "host/accounts/account_record.h"

#include <QByteArrayList>
#include <QString>
#include <QStringList>

/// Returns by what a person knows an account best: its address, else its user name, description, identifier or folder.
QString account_title(const account_record& record);

/// Returns an account's type with its provider, "IMAP of Google"; "-" when it is not known.
QString account_type_title(const account_record& record);

/// Returns the accounts as a table of at most `width` columns; marks and problems follow as lines of their own.
QStringList accounts_table(const QList<account_record>& accounts, qsizetype width);

/// Returns a line for each folder that is no account's.
QStringList lines_of_other_folders(const account_dossier& dossier);

/// Returns the accounts with all their fields as a table as wide as it takes.
QStringList wide_accounts_table(const QList<account_record>& accounts);

/// Returns lines of comma-separated values, the titles first; without `raw` what a spreadsheet would run is guarded.
QByteArrayList accounts_csv(const QList<account_record>& accounts, bool raw);
