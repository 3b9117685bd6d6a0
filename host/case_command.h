#pragma once

#include <CLI/CLI.hpp>

#include <functional>

/// Adds the command `case` with its own commands to the program. The one that the command line names is handed to
/// `choose`, which runs it later.
void add_case_commands(CLI::App& program, const std::function<void(std::function<int()>)>& choose);
