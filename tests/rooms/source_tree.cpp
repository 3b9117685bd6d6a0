#include "tests/rooms/source_tree.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>

namespace fs = std::filesystem;

namespace {

bool is_built_or_hidden(const fs::path& folder)
{
    const std::string name = folder.filename().string();
    return name.starts_with('.') || name == "build" || fs::exists(folder / "CMakeCache.txt");
}

} // namespace

std::vector<std::string> source_tree::cpp_files() const
{
    constexpr std::array<std::string_view, 6> endings{".h", ".cpp", ".hpp", ".cc", ".cxx", ".mm"};
    std::vector<std::string> found;
    std::copy_if(files.begin(), files.end(), std::back_inserter(found), [&](const std::string& file) {
        return std::any_of(endings.begin(), endings.end(), [&](std::string_view end) { return file.ends_with(end); });
    });
    return found;
}

source_tree list_source_tree(const fs::path& root)
{
    source_tree tree{root, {}, {}};
    for (auto entry = fs::recursive_directory_iterator(root); entry != fs::recursive_directory_iterator(); ++entry) {
        const std::string path = entry->path().lexically_relative(root).generic_string();
        if (!entry->is_directory()) {
            tree.files.insert(path);
        } else if (is_built_or_hidden(entry->path())) {
            entry.disable_recursion_pending();
        } else {
            tree.folders.insert(path + "/");
        }
    }
    return tree;
}

std::vector<include_line> read_includes(const fs::path& file, int& line_count)
{
    constexpr std::string_view blanks = " \t";
    std::vector<include_line> includes;
    std::ifstream lines(file);
    std::string line;
    for (line_count = 0; std::getline(lines, line);) {
        ++line_count;
        const size_t hash = line.find_first_not_of(blanks);
        if (hash == std::string::npos || line[hash] != '#') {
            continue;
        }
        const size_t word = line.find_first_not_of(blanks, hash + 1);
        if (word == std::string::npos || line.compare(word, 7, "include") != 0) {
            continue;
        }
        include_line include{"", false, line_count};
        const size_t open = line.find_first_of("\"<", word);
        if (open != std::string::npos) {
            include.quoted = line[open] == '"';
            const size_t close = line.find(include.quoted ? '"' : '>', open + 1);
            include.target = close == std::string::npos ? "" : line.substr(open + 1, close - open - 1);
        }
        includes.push_back(include);
    }
    return includes;
}
