#pragma once

#include "host/files/file_tree.h"

#include <map>

/// What lies below a folder, at any depth.
struct folder_extent
{
    file_amount amount; ///< every regular file, hidden ones included
    QString problem;    ///< the first thing that could not be looked at, with its path; empty when all could

    /// Takes one entry that walk_tree() met.
    void add(const tree_entry& entry);
};

/// The extents of the folders in Mail version directories, gathered by who walks through a whole Mail directory.
class folder_extents
{
public:
    folder_extents() = default;
    folder_extents(folder_extents&&) = default;
    folder_extents& operator=(folder_extents&&) = default;
    folder_extents(const folder_extents&) = delete;
    folder_extents& operator=(const folder_extents&) = delete;
    ~folder_extents() = default;

    /// Takes one entry that walk_tree() met below a Mail directory; those of one folder come together. Of a directory
    /// whose files do not come as entries, `files` are what lies directly in it.
    void add(const tree_entry& entry, const file_amount& files = {});
    /// Returns what lies below a folder; nullptr when nobody walked there.
    const folder_extent* find(const QByteArray& path) const;

private:
    using extent_map = std::map<QByteArray, folder_extent>;

    extent_map extents;                     ///< by path, with a slash at its end
    extent_map::value_type* last = nullptr; ///< the folder of the entry taken last
};
