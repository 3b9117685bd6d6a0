#pragma once

#include "host/case_collection/copied_result.h"

#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>

/// Checks and copies the results of a case in their order, in a thread of its own, one ahead of who takes them.
class copies_ahead
{
public:
    copies_ahead(const case_overview& overview, const QString& scratch);
    ~copies_ahead();
    Q_DISABLE_COPY_MOVE(copies_ahead)

    /// Returns the next result; null after the last one. Throws a scratch_failure.
    std::unique_ptr<copied_result> next();

private:
    void copy_all();
    std::unique_ptr<copied_result> copy_next();

    const QList<overview_entry>& entries;
    const QString scratch;
    qsizetype at = 0; ///< what is copied next; of who copies alone
    std::mutex mutex;
    std::condition_variable changed;
    std::unique_ptr<copied_result> ready;
    std::exception_ptr thrown;
    bool is_over = false; ///< nothing comes after `ready`
    bool is_stopped = false;
    std::thread thread; ///< last, so that it sees the others
};
