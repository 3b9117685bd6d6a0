#pragma once

#include "host/completeness/completeness.h"

/// One store to look at.
struct mail_store
{
    QByteArray root;         ///< absolute: the folder of the accounts
    QByteArray mail_version; ///< empty for mail directly in the Mail directory
    QByteArray index;        ///< absolute, whether or not it exists
};

/// Returns the stores of a Mail directory: version directories by their number, then what lies directly in it where
/// there is an index or a folder with a mailbox.
std::vector<mail_store> stores_of(const QByteArray& mail_directory);

/// Checks one of them.
store_completeness check_store(const mail_store& store, const completeness_request& request, completeness_sink& sink);
