#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

/// What the copies of a run take, and what there is, in bytes; every file counts in whole units of 4096 bytes.
struct room_estimate
{
    qint64 mail_trees = 0; ///< copied once into the dated folders; links inside the source followed as the copy does
    qint64 account_folders = 0; ///< copied once more into scratch
    qint64 free = 0;            ///< what this user may still write on the result's file system
    QString measured_at;        ///< the result, or its nearest parent that exists
    QString error;              ///< why `free` is unknown; empty when it holds

    qint64 needed() const { return mail_trees + account_folders; }
    bool is_enough() const { return error.isEmpty() && needed() <= free; }
};

/// Measures what a run over these Mail directories needs and what the file system of `result`, which need not exist
/// yet, has. What lies behind links that leave the source, and behind link cycles, is not counted.
room_estimate estimate_room(const QByteArray& source_root, const std::vector<QByteArray>& mail_directories,
                            const QString& result);

/// Returns the needed and the free bytes as one line, without saying where.
QString room_amounts(const room_estimate& estimate);

/// Returns one line with needed and free bytes and where they were measured, whether or not the room is enough.
QString room_text(const room_estimate& estimate);
