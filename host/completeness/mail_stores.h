#pragma once

#include <QByteArray>

#include <vector>

/// One store to look at.
struct mail_store
{
    QByteArray root;         ///< absolute: the folder of the accounts
    QByteArray mail_version; ///< empty for mail directly in the Mail directory
    QByteArray index;        ///< absolute, whether or not it exists
};

/// The folder beside those of the accounts in which the mail program keeps what is its own.
inline constexpr const char* mail_data_folder = "MailData";

/// Returns the stores of a Mail directory: version directories by their number, then what lies directly in it where
/// there is an index or a folder with a mailbox.
std::vector<mail_store> stores_of(const QByteArray& mail_directory);
