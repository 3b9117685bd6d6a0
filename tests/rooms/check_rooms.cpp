// Holds the source tree against the table of rooms in ARCHITECTURE.md, which is the only place that has the rules.

#include "tests/rooms/room_table.h"
#include "tests/rooms/source_tree.h"

#include <algorithm>
#include <iostream>
#include <map>

namespace {

constexpr int most_lines_of_a_source = 400;
constexpr int most_cpp_files_of_a_folder = 32;
constexpr const char* document = "ARCHITECTURE.md";

class room_check
{
public:
    room_check(std::vector<room> table, source_tree listed) : rooms(std::move(table)), tree(std::move(listed)) {}

    int fault_count() const { return faults; }

    void check_table()
    {
        for (size_t row = 0; row < rooms.size(); ++row) {
            if (!exists(rooms[row].name)) {
                report(document, rooms[row].line, "there is no " + rooms[row].name);
            }
            for (const std::string& entry : rooms[row].may_include) {
                check_entry(row, entry);
            }
        }
    }

    void check_files()
    {
        std::map<std::string, int> files_of_folder;
        for (const std::string& file : tree.cpp_files()) {
            if (++files_of_folder[folder_of(file)] == most_cpp_files_of_a_folder + 1) {
                report(file, 1, "more than " + std::to_string(most_cpp_files_of_a_folder) + " C++ files in its folder");
            }
            const size_t row = row_of(file);
            if (row == rooms.size()) {
                report(file, 1, folder_of(file) + " has no row in " + document);
                continue;
            }
            int line_count = 0;
            for (const include_line& include : read_includes(tree.root / file, line_count)) {
                check_include(file, rooms[row], include);
            }
            if (line_count > most_lines_of_a_source) {
                report(file, line_count, "longer than " + std::to_string(most_lines_of_a_source) + " lines");
            }
        }
    }

private:
    void report(const std::string& file, int line, const std::string& text)
    {
        ++faults;
        std::cerr << file << ":" << line << ": " << text << "\n";
    }

    bool exists(const std::string& name) const
    {
        return tree.files.contains(name) || std::any_of(tree.folders.begin(), tree.folders.end(),
                                                        [&](const auto& folder) { return names_path(name, folder); });
    }

    /// A row of the file itself goes before that of its folder, a folder's own row before that of its kind.
    size_t row_of(const std::string& path) const
    {
        const auto row_named = [&](const std::string& name) {
            return std::find_if(rooms.begin(), rooms.end(), [&](const room& each) { return each.name == name; });
        };
        auto found = row_named(path);
        if (found == rooms.end()) {
            found = row_named(folder_of(path));
        }
        if (found == rooms.end()) {
            found =
                std::find_if(rooms.begin(), rooms.end(), [&](const room& each) { return names_path(each.name, path); });
        }
        return static_cast<size_t>(found - rooms.begin());
    }

    void check_entry(size_t row, const std::string& entry)
    {
        if (tree.files.contains(entry)) {
            if (row_of(entry) <= row) {
                report(document, rooms[row].line, rooms[row].name + " does not stand above " + entry);
            }
            return;
        }
        bool known = false;
        for (size_t other = 0; other < rooms.size(); ++other) {
            if (!names_path(entry, rooms[other].name)) {
                continue;
            }
            known = true;
            if (other <= row) {
                report(document, rooms[row].line, rooms[row].name + " does not stand above " + rooms[other].name);
            }
        }
        if (!known) {
            report(document, rooms[row].line, "\"may include\" names " + entry + ", which is neither row nor file");
        }
    }

    /// What the build writes: the moc file of the source itself, and the header of a form beside it.
    bool is_generated(const std::string& file, const std::string& target) const
    {
        const std::string stem = file.substr(0, file.rfind('.'));
        const bool own_moc = folder_of(file) + target == stem + ".moc";
        const bool form = target.starts_with("ui_") && target.ends_with(".h") &&
                          tree.files.contains(folder_of(file) + target.substr(3, target.size() - 5) + ".ui");
        return own_moc || form;
    }

    void check_include(const std::string& file, const room& from, const include_line& include)
    {
        if (include.target.empty()) {
            report(file, include.line, "an include that cannot be read");
            return;
        }
        if (!tree.files.contains(include.target)) {
            if (include.quoted && !is_generated(file, include.target)) {
                report(file, include.line, "there is no " + include.target);
            }
            return;
        }
        const size_t to = row_of(include.target);
        if (to < rooms.size() && rooms[to].name == from.name && folder_of(file) == folder_of(include.target)) {
            return;
        }
        const bool to_folder = to < rooms.size() && rooms[to].name != include.target;
        const bool allowed =
            std::any_of(from.may_include.begin(), from.may_include.end(), [&](const std::string& entry) {
                return entry == include.target || (to_folder && names_path(entry, include.target));
            });
        if (!allowed) {
            report(file, include.line, from.name + " may not include " + include.target);
        }
    }

    std::vector<room> rooms;
    source_tree tree;
    int faults = 0;
};

} // namespace

int main(int argument_count, char** arguments)
{
    if (argument_count != 2) {
        std::cerr << "usage: check-rooms <root of the source tree>\n";
        return 2;
    }
    try {
        const std::filesystem::path root = arguments[1];
        room_check check(read_room_table(root / document), list_source_tree(root));
        check.check_table();
        check.check_files();
        std::cout << check.fault_count() << " faults\n";
        return check.fault_count() == 0 ? 0 : 1;
    } catch (const std::exception& fault) {
        std::cerr << fault.what() << "\n";
        return 2;
    }
}
