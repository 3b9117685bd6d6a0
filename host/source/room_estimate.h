#pragma once

#include "host/source/copy_forecast.h"

/// What the copies of a run take, and what there is, in bytes.
struct room_estimate
{
    qint64 mail_trees = 0; ///< copied once into the dated folders; links inside the source followed as the copy does
    qint64 account_folders = 0; ///< copied once more into scratch
    qint64 earlier = 0;         ///< of earlier copies, which the run removes or does not make again
    qint64 free = 0;            ///< what this user may still write on the result's file system
    bool is_least = false;      ///< there is more to copy: what could not be looked at is not counted
    QString measured_at;        ///< the result, or its nearest parent that exists
    QString error;              ///< why `free` is unknown; empty when it holds

    qint64 needed() const { return mail_trees + account_folders; }
    bool is_enough() const { return error.isEmpty() && needed() - earlier <= free; }
};

/// Compares what a run needs with what the file system of `result`, which need not exist yet, has. `earlier` bytes of
/// earlier copies there count as room.
room_estimate estimate_room(const copy_forecast& forecast, const QString& result, qint64 earlier = 0);

/// Returns the needed and the free bytes as one line, without saying where.
QString room_amounts(const room_estimate& estimate);
