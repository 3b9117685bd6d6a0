#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

/// The files of a source tree by their paths below its root, "/" between folders on every system.
struct source_tree
{
    std::filesystem::path root;
    std::set<std::string> files;
    std::set<std::string> folders; ///< each with its closing "/"

    /// Returns the paths of headers and sources.
    std::vector<std::string> cpp_files() const;
};

/// One line that begins with #include.
struct include_line
{
    std::string target; ///< as written between the quotes or brackets; empty where it cannot be read
    bool quoted = false;
    int line = 0;
};

/// Lists the tree without hidden folders and without what is built.
source_tree list_source_tree(const std::filesystem::path& root);

/// Returns the includes of a file in order, and in `line_count` how many lines it has.
std::vector<include_line> read_includes(const std::filesystem::path& file, int& line_count);
