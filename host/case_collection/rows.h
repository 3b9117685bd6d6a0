#pragma once

#include "host/case_collection/scratch_failure.h"

#include <QSqlQuery>

/// Moves to the next row; false after the last one. Throws a failure when reading ends in any other way, which Qt tells
/// like an end.
inline bool next_row(QSqlQuery& rows)
{
    if (rows.next()) {
        return true;
    }
    if (rows.lastError().isValid()) {
        refuse_statement(QStringLiteral("cannot read case.sqlite"), rows.lastError());
    }
    return false;
}
