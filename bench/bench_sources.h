#pragma once

#include <QString>

/// Writes a user "ann" whose Mail directory holds `files` messages of 1 to 8 KiB, fifty a folder, in a version
/// directory that no account is read from. Ends the program when the disk refuses.
void write_message_source(const QString& root, int files);

/// Writes a user "ann" with `accounts` identifier-named account folders of `files_per_account` messages each, and the
/// account store that names them. Ends the program when the disk refuses.
void write_account_source(const QString& root, int accounts, int files_per_account);
