#include "tests/rooms/room_table.h"

#include <algorithm>
#include <fstream>
#include <string_view>

namespace {

std::vector<std::string> cells_of(const std::string& line)
{
    std::vector<std::string> cells;
    for (size_t begin = line.find('|'); begin != std::string::npos;) {
        const size_t end = line.find('|', begin + 1);
        if (end == std::string::npos) {
            break;
        }
        const std::string cell = line.substr(begin + 1, end - begin - 1);
        const size_t first = cell.find_first_not_of(' ');
        cells.push_back(first == std::string::npos ? "" : cell.substr(first, cell.find_last_not_of(' ') - first + 1));
        begin = end;
    }
    return cells;
}

std::vector<std::string> names_between_backticks(const std::string& cell)
{
    std::vector<std::string> names;
    for (size_t open = cell.find('`'); open != std::string::npos;) {
        const size_t close = cell.find('`', open + 1);
        if (close == std::string::npos) {
            break;
        }
        names.push_back(cell.substr(open + 1, close - open - 1));
        open = cell.find('`', close + 1);
    }
    return names;
}

size_t column_of(const std::vector<std::string>& cells, std::string_view title)
{
    return static_cast<size_t>(std::find(cells.begin(), cells.end(), title) - cells.begin());
}

} // namespace

std::vector<room> read_room_table(const std::filesystem::path& document)
{
    const std::string name = document.filename().string();
    std::ifstream lines(document);
    std::vector<room> rooms;
    bool inside = false;
    size_t folder_column = 0;
    size_t include_column = 0;
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        const std::vector<std::string> cells = cells_of(line);
        if (!inside) {
            folder_column = column_of(cells, "folder");
            include_column = column_of(cells, "may include");
            inside = folder_column < cells.size() && include_column < cells.size();
            continue;
        }
        if (cells.empty()) {
            break;
        }
        if (cells.front().starts_with("---")) {
            continue;
        }
        if (include_column >= cells.size() || names_between_backticks(cells[folder_column]).size() != 1) {
            throw table_fault(name + ":" + std::to_string(number) + ": a row names one folder and what it may include");
        }
        rooms.push_back({names_between_backticks(cells[folder_column]).front(),
                         names_between_backticks(cells[include_column]), number});
    }
    if (rooms.empty()) {
        throw table_fault(name + ":1: no table with the columns \"folder\" and \"may include\"");
    }
    return rooms;
}

std::string folder_of(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

bool names_path(const std::string& name, const std::string& path)
{
    if (!name.ends_with('/')) {
        return name == path;
    }
    const std::string folder = folder_of(path);
    constexpr std::string_view any_folder = "*/";
    if (!name.ends_with(any_folder)) {
        return name == folder;
    }
    const std::string parent = name.substr(0, name.size() - any_folder.size());
    return folder.size() > parent.size() && folder.starts_with(parent) &&
           folder.find('/', parent.size()) == folder.size() - 1;
}
