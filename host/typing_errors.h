#pragma once

#include <QString>

#include <CLI/CLI.hpp>

/// Says what is wrong with a command line that could not be parsed, as one line with what was probably meant: an
/// unknown command or option with the nearest known one, a path that stands where an option should.
QString typing_error(const CLI::App& program, const std::vector<std::string>& arguments, const CLI::ParseError& error);

/// True when the command line asks for JSON, wherever it goes wrong otherwise.
bool asks_for_json(const std::vector<std::string>& arguments);
