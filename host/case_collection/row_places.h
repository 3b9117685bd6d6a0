#pragma once

#include "host/result/result_paths.h"

#include <QSqlQuery>
#include <QString>
#include <QVariant>

#include <functional>

/// Rows of accounts that name a folder in which their copies do not lie.
struct misplaced_rows
{
    qint64 moved = 0; ///< it has another place: that of the day before, after a run across midnight
    qint64 lost = 0;  ///< copies were made for them, and they are nowhere
    QString first_moved;
    QString first_lost;

    /// Returns what is to be said of them, one line; empty when there are none.
    QString text() const;
};

/// One such row.
struct misplaced_row
{
    QVariant number;
    QString user;
    QString named;
    QString place; ///< written as in rows; empty when it is nowhere
    bool is_lost = false;
};

/// Goes through rows of (number, user, folder, files copied) of a result and calls `take` with each that is misplaced.
misplaced_rows find_misplaced_rows(const result_paths& result, QSqlQuery rows,
                                   const std::function<void(const misplaced_row&)>& take);
