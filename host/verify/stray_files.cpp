#include "host/verify/stray_files.h"

#include "host/files/file_tree.h"

#include <algorithm>
#include <cerrno>

namespace {

class stray_search
{
public:
    stray_search(const QByteArray& result_root, const std::function<bool(const QByteArray& path)>& listener)
        : root(result_root)
        , found(listener)
    {
    }

    /// Looks for what lies in a directory beside what is expected there.
    bool search_beside(const std::set<QByteArray>& expected, const QByteArray& directory) const
    {
        const kinds_listing listing = quiet_kinds(child_path(root, directory));
        if (!listing.error.isEmpty() && listing.error_number != ENOENT) {
            return found(directory);
        }
        return std::all_of(listing.entries.begin(), listing.entries.end(), [&](const named_kind& entry) {
            const QByteArray path = child_path(directory, entry.name);
            return expected.count(path) > 0 ||
                   (entry.kind == entry_kind::directory ? search_below(path, nullptr) : found(path));
        });
    }

    /// Looks for files below a directory that `known`, if there is one, does not hold.
    bool search_below(const QByteArray& directory, path_set* known) const
    {
        bool goes_on = true;
        const auto look_at = [&](const tree_entry& entry) {
            const QByteArray path = child_path(directory, entry.relative_path);
            const bool is_open_directory = entry.facts.kind == entry_kind::directory && entry.listing_error.isEmpty();
            const bool is_absent = entry.relative_path.isEmpty() && entry.listing_error_number == ENOENT;
            if (!is_open_directory && !is_absent && (known == nullptr || !known->contains(path))) {
                goes_on = found(path);
            }
            return goes_on;
        };
        walk_tree(child_path(root, directory), look_at, list_kinds);
        return goes_on;
    }

private:
    const QByteArray& root;
    const std::function<bool(const QByteArray& path)>& found;
};

} // namespace

bool find_stray_files(const result_paths& result, const std::set<QByteArray>& copy_directories, path_set& kept,
                      const std::function<bool(const QByteArray& path)>& found)
{
    const QByteArray root = result.native_root();
    const stray_search search(root, found);
    std::set<QByteArray> expected = copy_directories;
    expected.insert(result.relative(result.database()));
    kept.complete();
    return search.search_beside({relative_copies()}, result.relative(result.artifacts())) &&
           search.search_beside(expected, relative_copies()) &&
           search.search_below(result.relative(result.evidence()), &kept);
}
