#pragma once

#include "host/files/file_tree.h"

#include <QHash>
#include <QSet>

#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

/// Lists the directories of trees on all cores for one who walks through them, each once and as quiet_list() does. What
/// lies ahead of the walk in memory is bounded.
class tree_lister
{
public:
    /// Begins; whoever walks the trees best does so in the order of their paths.
    explicit tree_lister(const std::vector<QByteArray>& trees);
    ~tree_lister();
    Q_DISABLE_COPY_MOVE(tree_lister)

    /// Returns the listing of a directory; to be asked by one thread, best in the order of walk_tree(). What is not
    /// listed yet is listed then and there.
    directory_listing next(const QByteArray& path);

private:
    void work();
    bool has_work() const;
    void list_one(std::unique_lock<std::mutex>& lock);
    void add_inner(const QByteArray& path, const directory_listing& listing);

    std::mutex guard;
    std::condition_variable may_work;
    std::condition_variable is_there;
    std::set<QByteArray, decltype(&walk_comes_before)> pending{&walk_comes_before};
    QSet<QByteArray> in_work;
    QHash<QByteArray, directory_listing> listed;
    std::size_t entries_listed = 0;
    bool ends = false;
    std::vector<std::thread> threads;
};
