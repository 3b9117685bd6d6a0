#pragma once

#include "host/completeness/completeness.h"
#include "host/completeness/mail_stores.h"

#include <atomic>
#include <condition_variable>
#include <future>
#include <mutex>
#include <vector>

/// For no more messages or rows than this is room made because of a count that may be forged.
inline constexpr qint64 most_reserved = 5'000'000;

/// Looks for the messages of one store; it may be begun before anyone can be told of absent attachments.
class store_search
{
public:
    /// Both must outlive it.
    store_search(const mail_store& store, const completeness_request& request);
    /// Gives up what was begun and not taken.
    ~store_search();
    store_search(const store_search&) = delete;
    store_search& operator=(const store_search&) = delete;

    /// Begins on a thread of its own, which waits for take() when more attachments are absent than are remembered.
    void begin();
    /// Returns the messages, all absent attachments having been told; to be called once. Searches now unless that was
    /// begun.
    mail_files take(completeness_sink& sink);

private:
    /// Like absent_attachment, of its own.
    struct remembered_absence
    {
        mailbox_identity mailbox;
        QByteArray path; ///< below the source
        emptied_part part;
    };

    mail_files find();
    void tell(const absent_attachment& absent);
    void tell_remembered(completeness_sink& sink);

    const mail_store& store;
    const completeness_request& request;
    std::mutex guard;
    std::condition_variable changed;
    std::vector<remembered_absence> remembered;
    completeness_sink* taker = nullptr; ///< nobody as long as nothing is taken
    std::atomic<bool> abandoned = false;
    std::future<mail_files> begun; // ends before what it works with
};
