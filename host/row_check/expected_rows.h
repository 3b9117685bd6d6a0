#pragma once

#include "host/accounts/account_record.h"
#include "host/source/copy_walk.h"
#include "host/source/source_snapshot.h"
#include "host/source/source_users.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <map>
#include <optional>
#include <vector>

/// What the plug-in was to work on, as the program itself saw it.
struct row_check_request
{
    QByteArray source;
    QList<source_user> users;
    bool as_suite = false;                             ///< one run for all users, without newer Mail versions
    const source_snapshot& seen;                       ///< from before the run
    const std::vector<account_store_rows>& stores;     ///< of those that are missing nothing is expected
    const std::map<directory_identity, qint64>& files; ///< of account folders, as far as they are known
};

/// A folder of the source of which a row tells.
struct expected_folder
{
    QByteArray path; ///< below the source
    QString place;   ///< in the user's dated folder, as rows write it: "/V9/IMAP-..."
    std::optional<qint64> files;
};

/// One row that must be there.
struct expected_row
{
    QString user;
    bool is_of_store = false;             ///< else of a folder named "IMAP..." or "POP..."
    std::vector<expected_folder> folders; ///< it tells of one of them: the rows of a store leave a choice
};

struct row_expectation
{
    std::vector<expected_row> rows;
    QStringList problems; ///< what could not be looked at, and folders that no row can tell of
};

/// Says which rows there must be by the plug-in's own rule, read anew from source and stores. Where the rule depends on
/// the order in which a database or a directory gives its entries, no row is expected.
row_expectation expect_rows(const row_check_request& request);
