#include "host/mail_tree_size.h"

#include <QFile>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <vector>

namespace fs = std::filesystem;

namespace {

bool is_identifier(std::string_view name)
{
    return name.size() == 36 && name[8] == '-' && name[13] == '-' && name[18] == '-' && name[23] == '-';
}

/// Adds up what a walk meets, each file as often as it is copied.
class tree_walk
{
public:
    explicit tree_walk(bool account_folders_count_twice) : accounts_count(account_folders_count_twice) {}

    void walk(const fs::path& directory, qint64 times, int depth)
    {
        std::error_code error;
        for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
            const fs::path name = entry->path().filename();
            if (name.native().starts_with('.')) {
                continue;
            }
            std::error_code ignored;
            if (entry->is_directory(ignored)) {
                enter(*entry, name.native(), times, depth);
            } else if ((depth > 0 || !accounts_count) && entry->is_regular_file(ignored)) {
                const auto size = entry->file_size(ignored);
                total += {times, ignored ? 0 : times * static_cast<qint64>(size)};
            }
        }
    }

    file_amount total;

private:
    void enter(const fs::directory_entry& directory, std::string_view name, qint64 times, int depth)
    {
        std::error_code ignored;
        const bool is_link = directory.is_symlink(ignored);
        if (is_link) {
            if (links_entered == deepest_link_nesting) {
                return;
            }
            const fs::path target = fs::canonical(directory.path(), ignored);
            if (ignored || leads_upwards(target, directory.path())) {
                return;
            }
        }
        const bool is_account =
            accounts_count && links_entered == 0 &&
            (name.starts_with("IMAP") || name.starts_with("POP") || (depth == 1 && is_identifier(name)));
        links_entered += is_link ? 1 : 0;
        walk(directory.path(), times + (is_account ? 1 : 0), depth + 1);
        links_entered -= is_link ? 1 : 0;
    }

    static bool leads_upwards(const fs::path& target, const fs::path& link)
    {
        std::error_code ignored;
        const fs::path place = fs::canonical(link.parent_path(), ignored);
        return std::mismatch(target.begin(), target.end(), place.begin(), place.end()).first == target.end();
    }

    // Two links that lead to each other's folders would otherwise be followed until the path is too long.
    static constexpr int deepest_link_nesting = 4;

    bool accounts_count;
    int links_entered = 0;
};

fs::path native_path(const QString& path)
{
    return QFile::encodeName(path).toStdString();
}

} // namespace

file_amount mail_tree_size(const QString& mail_directory)
{
    tree_walk walk(true);
    walk.walk(native_path(mail_directory), 1, 0);
    return walk.total;
}

file_amount visible_tree_size(const QString& directory)
{
    tree_walk walk(false);
    walk.walk(native_path(directory), 1, 0);
    return walk.total;
}
