#include "support/bulk/tree_walk.h"

#include "support/bulk/platform_copying.h"

#include <cerrno>
#include <cstdlib>

namespace {

/// Directories on the way down that stay open; below, paths are resolved from the start, so that a deep tree cannot use
/// up the descriptors.
constexpr qsizetype levels_kept_open = 24;

/// A directory whose directories are being gone through.
struct walk_level
{
    walked_directory_ptr directory;
    bool is_below_link = false;
    std::vector<walked_file> directories = {};
    std::size_t next = 0;
};

class tree_walk
{
public:
    explicit tree_walk(tree_visitor& told) : visitor(told) {}

    bool walk(const QByteArray& path)
    {
        if (!enter({current_directory(), path, path, 0}, true, !is_free_of_links(path))) {
            return false;
        }
        while (!levels.empty()) {
            walk_level& level = levels.back();
            if (level.next == level.directories.size()) {
                levels.pop_back();
                continue;
            }
            const walked_file child = std::move(level.directories[level.next++]);
            if (!enter(place_of(*level.directory, child.name), child.is_link, level.is_below_link)) {
                return false;
            }
        }
        return true;
    }

private:
    /// Where a directory is opened.
    struct place
    {
        int parent;
        QByteArray name;
        QByteArray path;
        qsizetype depth;
    };

    static place place_of(const walked_directory& parent, const QByteArray& name)
    {
        const QByteArray path = parent.path + '/' + name;
        if (parent.depth < levels_kept_open) {
            return {parent.descriptor(), name, path, parent.depth + 1};
        }
        return {current_directory(), path, path, parent.depth + 1};
    }

    static bool is_free_of_links(const QByteArray& path)
    {
        const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.constData(), nullptr), &std::free);
        return resolved && path == resolved.get();
    }

    /// Enters a directory and tells its files; false when the visitor ends the walk.
    bool enter(const place& where, bool is_link, bool is_below_link)
    {
        walked_directory directory{where.path, where.depth, 0, open_stream(where, is_link)};
        directory.error = directory.stream ? 0 : errno;
        // A descriptor knows nothing of what the system refuses a path: too many links on it, too many characters.
        if (is_link || is_below_link || !directory.stream || where.path.size() >= path_limit()) {
            content_status status;
            if (!status_at(current_directory(), where.path.constData(), link_rule::follow, status)) {
                visitor.miss(where.path, errno);
                return true;
            }
            if (status.kind != content_kind::directory) {
                return true;
            }
        }
        const bool is_root = where.depth == 0; // a link on the way to it has been seen before
        walk_level level{std::make_shared<walked_directory>(std::move(directory)),
                         (is_link && !is_root) || is_below_link};
        visitor.enter(level.directory);
        int error = 0;
        if (!list(level, error) || !visitor.end_files(error)) {
            return false;
        }
        levels.push_back(std::move(level));
        if (levels.back().directory->depth >= levels_kept_open) {
            levels.back().directory = closed(*levels.back().directory);
        }
        return true;
    }

    /// The same directory without its descriptor, which those who still work in it hold.
    static walked_directory_ptr closed(const walked_directory& directory)
    {
        return std::make_shared<walked_directory>(
            walked_directory{directory.path, directory.depth, directory.error, nullptr});
    }

    std::shared_ptr<DIR> open_stream(const place& where, bool is_link)
    {
        const link_rule links = is_link || where.parent == current_directory() ? link_rule::follow : link_rule::refuse;
        owned_descriptor descriptor = open_directory(where.parent, where.name.constData(), links);
        if (!descriptor.is_open() && (errno == EMFILE || errno == ENFILE)) {
            visitor.release_descriptors();
            descriptor = open_directory(where.parent, where.name.constData(), links);
        }
        DIR* stream = descriptor.is_open() ? ::fdopendir(descriptor.get()) : nullptr;
        if (stream == nullptr) {
            return nullptr;
        }
        descriptor.release();
        return {stream, ::closedir};
    }

    /// Tells the files of a directory and keeps its directories for later; false when the visitor ends the walk.
    bool list(walk_level& level, int& error)
    {
        DIR* const stream = level.directory->stream.get();
        while (stream != nullptr) {
            errno = 0;
            const dirent* const entry = ::readdir(stream);
            if (entry == nullptr) {
                error = errno;
                return true;
            }
            const QByteArray name(entry->d_name);
            if (name.startsWith('.') || !name.isValidUtf8()) {
                continue;
            }
            bool is_link = false;
            switch (kind_of(*level.directory, name, entry->d_type, is_link)) {
            case content_kind::file:
                if (!visitor.take({name, is_link})) {
                    return false;
                }
                break;
            case content_kind::directory:
                level.directories.push_back({name, is_link});
                break;
            default:
                break;
            }
        }
        error = level.directory->error;
        return true;
    }

    /// Returns what an entry is, behind links; `other` for what is not copied.
    static content_kind kind_of(const walked_directory& directory, const QByteArray& name, unsigned char type,
                                bool& is_link)
    {
        if (!hides_by_flag() && (type == DT_REG || type == DT_DIR)) {
            return type == DT_REG ? content_kind::file : content_kind::directory;
        }
        if (type != DT_REG && type != DT_DIR && type != DT_LNK && type != DT_UNKNOWN) {
            return content_kind::other;
        }
        content_status status;
        if (!status_at(directory.descriptor(), name.constData(), link_rule::refuse, status) || status.hidden_by_flag) {
            return content_kind::other;
        }
        is_link = status.kind == content_kind::link;
        // By its path, because the links on the way there count as well.
        if (is_link &&
            !status_at(current_directory(), (directory.path + '/' + name).constData(), link_rule::follow, status)) {
            return content_kind::other;
        }
        return status.kind;
    }

    tree_visitor& visitor;
    // Held here rather than in calls of calls: links can lead deeper than any stack of calls.
    std::vector<walk_level> levels;
};

/// Counts files, and asks whether to go on.
class file_count : public tree_visitor
{
public:
    explicit file_count(const std::function<bool()>& asked) : cancelled(asked) {}

    void enter(const walked_directory_ptr&) override {}
    bool take(walked_file) override
    {
        if (cancelled()) {
            return false;
        }
        ++files;
        return true;
    }
    bool end_files(int) override { return !cancelled(); }
    void miss(const QByteArray&, int) override {}
    void release_descriptors() override {}

    qint64 files = 0;

private:
    const std::function<bool()>& cancelled;
};

} // namespace

bool walk_tree_as_copied(const QByteArray& directory, tree_visitor& visitor)
{
    return tree_walk(visitor).walk(directory);
}

qint64 count_files_as_copied(const QByteArray& directory, const std::function<bool()>& cancelled)
{
    file_count count(cancelled);
    walk_tree_as_copied(directory, count);
    return count.files;
}
