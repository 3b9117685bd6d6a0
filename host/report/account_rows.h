#pragma once

#include "host/report/data.h"

/// Reads the rows of the result database, by user; nothing, with one line in `error` naming the path, when it is
/// missing or cannot be read. Amounts are left at 0.
std::optional<QList<report_user>> load_report_users(const QString& result, QString& error);

/// Fills in the amounts of accounts and users, adds users that only the manifest tells of, and returns the rest of what
/// the manifest says; nothing, with one line in `error`, when there is no sound manifest, and then changes nothing.
std::optional<report_manifest> apply_manifest(const QString& result, QList<report_user>& users, QString& error);

/// Fills in the amounts of the accounts by looking at their folders in the result; links are not followed.
void measure_account_folders(const QString& result, QList<report_user>& users);
