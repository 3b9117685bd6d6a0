#pragma once

#include <CLI/CLI.hpp>

/// Lays out `--help` for a screen: names at the left, what they mean at the right, lines broken between words alone.
class help_page : public CLI::Formatter
{
public:
    std::string make_help(const CLI::App* command, std::string name, CLI::AppFormatMode mode) const override;
    std::string make_option(const CLI::Option* option, bool is_positional) const override;
    std::string make_subcommand(const CLI::App* command) const override;
    std::string make_description(const CLI::App* command) const override;
    std::string make_footer(const CLI::App* command) const override;
};
