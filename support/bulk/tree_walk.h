#pragma once

#include <QByteArray>

#include <dirent.h>
#include <functional>
#include <memory>
#include <vector>

/// A directory of the source that is gone through. It stays open as long as somebody holds it.
struct walked_directory
{
    QByteArray path;
    qsizetype depth = 0; ///< 0 for the directory that the walk began with
    int error = 0;       ///< errno when it could not be opened; it is entered as if it were empty
    std::shared_ptr<DIR> stream;

    /// The descriptor for what lies in it, -1 when it is not open.
    int descriptor() const { return stream ? ::dirfd(stream.get()) : -1; }
};

using walked_directory_ptr = std::shared_ptr<const walked_directory>;

/// One file in a walked directory.
struct walked_file
{
    QByteArray name;
    bool is_link = false;
};

/// Is told what a walk finds.
class tree_visitor
{
public:
    virtual ~tree_visitor() = default;
    /// A directory is entered; its files come next, then its directories.
    virtual void enter(const walked_directory_ptr& directory) = 0;
    /// A file lies in the directory entered last; false ends the walk.
    virtual bool take(walked_file file) = 0;
    /// The directory entered last has no further files; its listing ended early when `error` is an errno. False ends
    /// the walk.
    virtual bool end_files(int error) = 0;
    /// A directory that exists can be entered by no path.
    virtual void miss(const QByteArray& path, int error) = 0;
    /// Descriptors have run out: those that can be spared shall be given back.
    virtual void release_descriptors() = 0;
};

/// Goes through a directory tree as a copy by QDir and QFile does, at a fraction of the cost.
///
/// Visible files and directories are met, those behind links too; names that begin with "." or are not UTF-8, links
/// that lead nowhere and what is neither file nor directory are not. A directory's files come before its directories,
/// both in the file system's order. A circle of links ends where the system refuses the path. Each directory is listed
/// once, by its descriptor; names of files are not kept. `directory` may be reached through a link; false when the
/// visitor ended the walk.
bool walk_tree_as_copied(const QByteArray& directory, tree_visitor& visitor);

/// Returns how many files a copy of a directory would attempt. `cancelled` is asked before each file and before each
/// directory; when it says no the count so far is returned.
qint64 count_files_as_copied(const QByteArray& directory, const std::function<bool()>& cancelled);
