#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

/// A table that cannot be read as one; the text begins with file and line.
struct table_fault : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// One row: a folder ("host/text/"), every folder of a kind ("tests/unit/*/") or one file with a rule of its own.
struct room
{
    std::string name;
    std::vector<std::string> may_include; ///< names of rows in the same notation, or single files
    int line = 0;                         ///< where the row stands in the document
};

/// Returns the rows of the document's table that has the columns "folder" and "may include", top to bottom. Throws
/// table_fault where there is none or a row names no folder.
std::vector<room> read_room_table(const std::filesystem::path& document);

/// Returns the folder of a path below the root with its closing "/", "./" for a file of the root itself.
std::string folder_of(const std::string& path);

/// True where the name is the path itself or the notation of the path's folder.
bool names_path(const std::string& name, const std::string& path);
