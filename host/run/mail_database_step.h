#pragma once

#include "host/accounts/account_record.h"
#include "host/accounts/folder_extents.h"
#include "host/files/content_place.h"
#include "host/result/result_paths.h"
#include "host/source/source_users.h"
#include "host/terminal/progress.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <atomic>
#include <future>

/// What writing mail.sqlite came across, one line each.
struct mail_database_outcome
{
    QStringList problems;                   ///< what could not be read or written
    QStringList remarks;                    ///< what a store's schema does not have
    std::vector<account_store_rows> stores; ///< the rows of those account stores that were read without a problem
};

struct mail_database_request
{
    QString source_root;
    QList<source_user> users;
    result_paths result;
    content_place copy_of;               ///< of mail files that need not be read in the source
    content_knowledge begins_as_message; ///< mail files that need not be read at all to know that
    folder_extents extents;              ///< of account folders that need not be gone through
    qint64 messages;                     ///< so many are expected; 0 when nobody knows
};

/// Reads who the users' accounts are, and what their messages are, and writes that to mail.sqlite of the result, on a
/// thread of its own. What cannot be read or written is a problem, and then no database is there or the one from
/// before.
class account_notes
{
public:
    /// Begins.
    account_notes(mail_database_request request, progress_style style);

    /// Shows how far it is until something else is done.
    void show_until(const std::future<void>& other);
    /// Waits until it is done; to be asked once.
    mail_database_outcome outcome();

private:
    std::atomic<qint64> looked_into = 0; ///< messages
    progress shown;
    std::future<mail_database_outcome> awaited;
};
