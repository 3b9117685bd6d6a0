#pragma once

#include "host/files/tree_lister.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

/// Lists directory trees, one after the other, on threads of its own and ahead of two who walk them: each directory
/// once for both. What is kept in memory is bounded.
class listings_ahead
{
public:
    enum class reader : unsigned char
    {
        first,
        second
    };

    /// Begins; the trees come in the order in which they are walked, which is that of their paths.
    explicit listings_ahead(const std::vector<QByteArray>& trees);
    ~listings_ahead();
    Q_DISABLE_COPY_MOVE(listings_ahead)

    /// Returns the listing of a directory. Each reader asks on one thread and in the order of walk_tree(), and may
    /// leave out what it likes; whatever else it asks for is listed then and there.
    directory_listing next(reader who, const QByteArray& path);
    /// A reader asks for nothing more, so that the other need not wait for it.
    void leave(reader who);

private:
    struct listed
    {
        QByteArray path;
        directory_listing listing;
        std::size_t entries; ///< also when the listing has been taken away
    };

    void list_tree(const QByteArray& tree, tree_lister& on_all_cores);
    void add(const QByteArray& path, directory_listing listing);
    bool is_wanted_by_other(reader who) const;
    void drop_what_both_passed();

    std::mutex guard;
    std::condition_variable is_there;
    std::condition_variable is_room;
    std::deque<listed> waiting;
    std::size_t entries_waiting = 0;
    std::array<std::size_t, 2> positions{}; ///< among those that wait, by reader
    std::array<bool, 2> has_left{};
    bool is_complete = false;
    std::atomic<bool> is_given_up = false;
    std::thread lister;
};
