#pragma once

#include <array>

/// The account stores that the plug-in looks for in a user's "Library/Accounts", the one it prefers first.
inline constexpr std::array<const char*, 2> account_store_names = {"Accounts4.sqlite", "Accounts3.sqlite"};

/// Where they lie below a user's home.
inline constexpr const char* accounts_directory = "Library/Accounts";

/// The companions that the plug-in copies with a store.
inline constexpr std::array<const char*, 2> copied_store_companions = {"-wal", "-shm"};
