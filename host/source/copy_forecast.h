#pragma once

#include "host/files/file_amount.h"
#include "host/source/copy_walk.h"
#include "host/source/link_problems.h"
#include "host/source/source_look.h"

#include <QByteArray>

#include <vector>

/// What a run over some Mail directories is going to copy. What lies behind links that leave the source, and behind
/// link cycles, is not counted.
struct copy_forecast
{
    std::vector<link_problem> link_problems; ///< each link once, in the order met
    std::vector<file_amount> trees;          ///< by Mail directory
    std::vector<blocked_look> unread;        ///< what could not be looked at, and is not counted therefore
    std::vector<file_amount> copies;         ///< by Mail directory: the tree once, its account folders once more
    std::map<directory_identity, qint64> files_of_accounts; ///< by account folder; empty when not all could be counted
    std::vector<file_amount> scratch_copies;                ///< by Mail directory: the account folders alone
    qint64 room_of_trees = 0; ///< bytes that the files of the trees take in whole units of 4096
    copy_walk::amount kept;   ///< the witnesses of the accounts, the files that no copy takes, and directories
    std::vector<qint64> rooms_of_accounts; ///< by Mail directory: the account folders, which go to scratch
    std::vector<qint64> rooms_of_stores;   ///< the same for the account store, once for each Mail version
};

/// Goes once through everything that a run over these Mail directories (SOURCE/Users/NAME/Library/Mail, which need not
/// exist) would copy, and examines the links on the way from `source_root` to them and to the account stores beside
/// them. Links that lead nowhere are no problem, since no copy follows them.
copy_forecast forecast_copies(const QByteArray& source_root, const std::vector<QByteArray>& mail_directories,
                              const directory_lister& list = quiet_list);
