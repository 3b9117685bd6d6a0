#pragma once

#include "host/cases/lease.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

/// Gives the signs of life of a lease in a thread of its own, so that no work between two of them, however long, and no
/// file that is slow to read, makes a task look lost.
class lease_beats
{
public:
    /// Begins; `held` must stay where it is, and is not to be given back, as long as this lives.
    explicit lease_beats(lease& held);
    ~lease_beats();
    Q_DISABLE_COPY_MOVE(lease_beats)

    /// True once another task has taken over.
    bool is_lost() const { return lost; }

private:
    void beat_on();

    lease& held;
    std::mutex mutex;
    std::condition_variable wake;
    bool ends = false; ///< under the mutex
    std::atomic<bool> lost = false;
    std::thread thread; ///< last, so that it sees the others
};
