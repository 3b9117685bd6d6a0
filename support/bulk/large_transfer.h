#pragma once

#include "support/bulk/platform_copying.h"

#include <QByteArray>

#include <atomic>

/// How far the content of a large file came.
struct large_transfer_outcome
{
    qint64 bytes = 0;      ///< so many from the beginning on were read and written
    const char* step = ""; ///< "read" or "write" where something failed, with `error`; empty for a file that ends early
    int error = 0;
    bool was_cancelled = false;
    QByteArray beginning; ///< the first bytes, as many as are asked for
};

/// Copies the content of a large file into an empty one, up to the size that its status gives; two threads take pieces
/// in turn, so that it goes in no strict order. Of what is zero in a source with holes nothing is written but at the
/// end. `bytes_read` is added to on the way.
large_transfer_outcome transfer_in_turns(int source, const content_status& status, int copy, qsizetype beginning_bytes,
                                         const std::atomic<bool>& cancelled, std::atomic<qint64>& bytes_read);

/// True where that is worth it.
bool can_take_turns();

/// Writes a piece at an offset; where the source has holes, zeros before its end are left out. Returns 0 or an error
/// number, and in `written` how much arrived.
int write_piece(int copy, const char* piece, qint64 count, qint64 offset, const content_status& source,
                qint64& written);
