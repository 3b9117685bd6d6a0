#pragma once

#include <QString>

// Sources in the shapes that make copying slow in different ways: below "Users/ann" messages that read as such, with
// the account store that names their account. All end the program when the disk refuses.

/// So many messages of 2 kB, two hundred a folder.
void write_small_messages(const QString& root, int files);

/// So many messages as people have them: most of a few kilobytes, a tenth of a few hundred, one in 2,000 of 30 MB; 40
/// kB in the mean. Returns their bytes.
qint64 write_mixed_messages(const QString& root, int files);

/// One message of so many bytes.
void write_huge_message(const QString& root, qint64 bytes);

/// So many users, each with an account store, an account folder and two messages.
void write_many_users(const QString& root, int users);

/// Writes a source of several users with so many accounts together, each with a folder and a message in it.
void write_many_accounts(const QString& root, int accounts);
