#pragma once

#include "host/source/copy_forecast.h"

/// How a run copies, which decides what lies in its scratch directory at one time.
enum class copying_way
{
    in_bulk,    ///< account folders are counted where they are
    one_by_one, ///< they are copied to scratch, which is emptied behind each user
    as_suite    ///< the same for all users at once
};

/// What the copies of a run take, and what there is, in bytes.
struct room_estimate
{
    qint64 mail_trees = 0; ///< copied once into the dated folders; links inside the source followed as the copy does
    qint64 account_folders = 0;            ///< copied once more into scratch, as far as they lie there at one time
    qint64 account_folders_one_by_one = 0; ///< what that would be, were files copied one by one
    qint64 working_copies = 0;             ///< of account stores: the same
    qint64 kept_files = 0;                 ///< account stores and what no copy takes, kept beside the copies
    qint64 records = 0;                    ///< rough: what is written down of every file
    qint64 earlier = 0;                    ///< of earlier copies, which the run removes or does not make again
    qint64 free = 0;                       ///< what this user may still write on the result's file system
    qint64 entries = 0;                    ///< files and directories that are made
    qint64 earlier_entries = 0;            ///< of earlier copies: the same
    qint64 free_entries = 0;               ///< how many may still be made there, where that is limited
    bool is_least = false;                 ///< there is more to copy: what could not be looked at is not counted
    QString measured_at;                   ///< the result, or its nearest parent that exists
    QString error;                         ///< why `free` is unknown; empty when it holds

    qint64 needed() const { return mail_trees + account_folders + working_copies + kept_files + records; }
    bool is_out_of_entries() const { return entries - earlier_entries > free_entries; }
    bool is_enough() const { return error.isEmpty() && needed() - earlier <= free && !is_out_of_entries(); }
};

/// Compares what a run needs with what the file system of `result`, which need not exist yet, has. What it takes
/// `earlier` already counts as room.
room_estimate estimate_room(const copy_forecast& forecast, const QString& result, copying_way way,
                            const copy_walk::amount& earlier = {});

/// Returns the needed and the free bytes as one line, without saying where.
QString room_amounts(const room_estimate& estimate);
