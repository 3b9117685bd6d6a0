#pragma once

#include "host/files/hashing.h"
#include "host/files/quiet_reading.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

/// What became of the copy of one file.
struct file_copy_outcome
{
    qint64 bytes = 0;
    file_time modified;                  ///< of the source when it was opened
    std::optional<sha256_digest> digest; ///< of the bytes read; nothing unless the copy is whole
    QString problem;                     ///< why there is no copy, with the offset where it broke off
    bool is_target_at_fault = false;     ///< it could not be written, whatever the source is
    bool was_cancelled = false;
};

/// Copies a regular file to a place where nothing lies yet, folders made on the way, and gives the copy the source's
/// modification time. The source is opened without a trace as far as quiet_open() can. `cancelled` is asked with the
/// bytes of each piece. A copy that did not come to its end is removed.
file_copy_outcome copy_file(const QByteArray& source, const QByteArray& target, link_handling links,
                            const std::function<bool(qint64 bytes)>& cancelled);

/// Gives an open file a modification time; returns the errno of a failure, 0 for none.
int set_modification_time(int descriptor, const file_time& modified);
