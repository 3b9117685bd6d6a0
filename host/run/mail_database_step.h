#pragma once

#include "host/accounts/account_record.h"
#include "host/accounts/dossier.h"
#include "host/accounts/folder_extents.h"
#include "host/completeness/completeness.h"
#include "host/files/content_place.h"
#include "host/mail_database/database_writer.h"
#include "host/result/result_paths.h"
#include "host/source/source_users.h"
#include "host/terminal/progress.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <atomic>
#include <future>
#include <memory>
#include <optional>

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
    /// Begins with what needs no database, whatever else reads one meanwhile.
    explicit account_notes(mail_database_request request);

    /// Goes on with the databases; to be called once, and before what is below.
    void read_databases(progress_style style);

    /// Shows how far it is until something else is done.
    void show_until(const std::future<void>& other);
    /// Waits until it is done; to be asked once.
    mail_database_outcome outcome();

private:
    std::unique_ptr<completeness_check> check_of(const source_user& user);
    void write_completeness(mail_database_writer& writer, const account_dossier& dossier, QStringList& problems);
    mail_database_outcome write();

    const mail_database_request request;
    std::atomic<qint64> looked_into = 0; ///< messages
    std::unique_ptr<completeness_check> first_user;
    std::optional<progress> shown;
    std::future<mail_database_outcome> awaited;
};
