#pragma once

/// Runs the command that the arguments name and returns the program's exit code.
int run_command_line(int argc, char** argv);
