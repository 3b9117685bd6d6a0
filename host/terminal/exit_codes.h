#pragma once

/// What the program tells its caller when it ends; scripts rely on the numbers.
namespace exit_code {

constexpr int whole = 0;             ///< everything was done and nothing failed
constexpr int could_not_run = 1;     ///< nothing was done; one line on standard error says why
constexpr int usage = 2;             ///< the command line was not understood
constexpr int with_failures = 3;     ///< it ran, with failures or files not copied
constexpr int no_mail_directory = 4; ///< the source holds no Mail directory
constexpr int not_finished = 6;      ///< some sources of the case have no result yet
constexpr int held_elsewhere = 75;   ///< another task has this source
constexpr int cancelled = 130;       ///< interrupted by the user; what was done stays

} // namespace exit_code
