#pragma once

#include "host/text/failure.h"

#include <QSqlError>

/// Ends the whole collection: local scratch cannot be written or read, which says nothing against the result that was
/// at hand.
class scratch_failure : public failure
{
public:
    using failure::failure;
};

/// Throws the failure of a statement on the collected database: that of the scratch where it has no room, or is broken.
[[noreturn]] inline void refuse_statement(const QString& path, const QSqlError& error)
{
    constexpr int out_of_memory = 7;
    constexpr int failed_to_read_or_write = 10;
    constexpr int full = 13;
    const QString text = QStringLiteral("%1: %2").arg(path, error.databaseText());
    switch (error.nativeErrorCode().toInt() & 0xff) {
    case out_of_memory:
    case failed_to_read_or_write:
    case full:
        throw scratch_failure(text);
    default:
        refuse(text);
    }
}
