#pragma once

#include "host/files/file_amount.h"
#include "host/files/quiet_reading.h"

#include <functional>

/// One entry met while walking a directory tree.
struct tree_entry
{
    QByteArray path;              ///< root + "/" + relative_path
    QByteArray relative_path;     ///< below the root, "/" separated
    entry_facts facts;            ///< of the entry itself, links not followed; `error` when it could not be examined
    bool hidden = false;          ///< the entry, or a directory above it below the root, is hidden: the copy leaves it
    QString listing_error;        ///< only for a directory: why its content is missing or incomplete
    int listing_error_number = 0; ///< the system's number for it
};

/// Lists a directory.
using directory_lister = std::function<directory_listing(const QByteArray& path)>;

/// Lists a directory as quiet_list() does, but tells no more of each entry than its kind, and whether its name hides
/// it: none is looked at.
directory_listing list_kinds(const QByteArray& path);

/// Calls `visit` once for every entry below the directory `root`, hidden ones included, a directory before its
/// content and siblings in bytewise order of their names; `visit` returns false to stop the walk. No link is followed
/// but `root` itself. A root that cannot be listed is reported as one entry with an empty relative path.
void walk_tree(const QByteArray& root, const std::function<bool(const tree_entry&)>& visit,
               const directory_lister& list = quiet_list);

/// True when walk_tree() comes to one path before the other.
bool walk_comes_before(const QByteArray& path, const QByteArray& other);

/// Returns the files below a directory that are not hidden; nothing when it does not exist. `problem` takes the first
/// path that could not be looked at, and why.
file_amount visible_files_below(const QByteArray& directory, QString& problem,
                                const directory_lister& list = quiet_list);

/// Removes what lies at a path, with everything below it, following no link. Returns why it stays, with the path of
/// what could not be removed where that is another one; empty when it is gone.
QString remove_tree(const QByteArray& path);

/// True for a directory, and for a link that leads to one.
bool is_directory(const QByteArray& path);

/// Returns `directory` + "/" + `name`, with one separator also where `directory` ends with one.
QByteArray child_path(const QByteArray& directory, const QByteArray& name);

/// Returns a file's name as text, as QFile::decodeName() does, but with a byte order mark that it begins with.
QString decoded_name(const QByteArray& name);

/// True when `path` is `directory` or lies below it; both absolute and resolved; looks at the names alone.
bool is_at_or_below(const QByteArray& path, const QByteArray& directory);
