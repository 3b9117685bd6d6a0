#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

struct sample_options
{
    QString root; // directory to write into; must be empty or absent
    quint32 seed = 1;
    int users = 4;                 // the first four are fixed in character, further ones are drawn from the seed
    int accounts_per_user = 3;     // mail accounts as a person counts them: a provider with its services is one
    int messages_per_account = 12; // in a user's newest Mail version; older versions hold a quarter
    bool odd_names = true;         // spaces, quotes, umlauts in both Unicode forms and newlines in names
};

/// One account folder below a Mail version directory.
struct sample_account_folder
{
    QString path;         // relative to the root
    QString account;      // the user name that belongs to it: for a provider's mail service, the provider's
    bool by_identifier;   // named by the account's identifier, not by protocol, user and host
    bool only_in_log;     // its account's rows lie in the account store's "-wal" file only
    qint64 visible_files; // files below it that are neither hidden nor in a hidden directory
};

struct sample_summary
{
    qint64 files = 0;
    qint64 bytes = 0;
    qint64 directories = 0; // without the root itself
    QStringList users;      // names of the home directories, in the order of writing
    int accounts = 0;       // of all users together, one for each of accounts_per_user
    QList<sample_account_folder> account_folders;
};

/// Writes a mounted Mac volume with several users' mail: the same options give the same names, bytes and times.
/// Returns what was written, or nothing and one line of reason in `error` (what was written until then stays). Needs a
/// QCoreApplication for Qt's SQLite driver. The first four users:
///   1. V10 with accounts named by identifier, Accounts4 with a log and "-shm"; the last account is in the log only.
///   2. V9, V8, V7 and V6 with protocol-named folders in the two oldest, Accounts4 beside an older Accounts3.
///   3. V5 and V3, mostly protocol-named, one account folder deeper in the tree, Accounts3 only.
///   4. V8, and no account store at all.
std::optional<sample_summary> write_sample_source(const sample_options& options, QString& error);
