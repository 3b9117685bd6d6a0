#pragma once

#include "host/source/source_look.h"

#include <array>
#include <optional>
#include <vector>

/// The account stores that the plug-in looks for in a user's "Library/Accounts", the one it prefers first.
inline constexpr std::array<const char*, 2> account_store_names = {"Accounts4.sqlite", "Accounts3.sqlite"};

/// Where they lie below a user's home.
inline constexpr const char* accounts_directory = "Library/Accounts";

/// The companions that the plug-in copies with a store.
inline constexpr std::array<const char*, 2> copied_store_companions = {"-wal", "-shm"};

/// An account store with those of its companions that exist.
struct account_store
{
    QByteArray name;
    std::optional<qint64> bytes; ///< nothing when it could not even be looked at
    std::optional<qint64> wal_bytes;
    std::optional<qint64> shm_bytes;
    QString problem;      ///< why nothing can be read from it: permission, or no database; empty when it looks whole
    int error_number = 0; ///< the system's number for `problem`; 0 when it is one of content
};

/// What the folder of a user's account stores holds.
struct account_store_look
{
    std::vector<account_store> stores;
    std::optional<blocked_look> blocked; ///< why nobody knows what it holds
};

/// Looks for the stores in SOURCE/`folder`; links are followed, but not out of the source. Of each store only the first
/// bytes are read: enough to tell a database from anything else, not whether its content holds.
account_store_look look_for_account_stores(const QByteArray& source, const QByteArray& folder);
