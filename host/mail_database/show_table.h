#pragma once

#include "host/mail_database/without_row.h"
#include "host/result/checked_database.h"
#include "host/result/row_folders.h"

#include <QStringList>

/// Returns the rows of the plug-in's table as lines for a person. `found`, where it is known, takes each of them, and
/// its marks stand beside them.
QStringList lines_of_rows(checked_rows& rows, const row_folders& folders, row_comparison* found, qsizetype width);

/// Returns what has no row as a second table. Records without folder that differ in their type alone are one line.
QStringList lines_without_row(const QList<item_without_row>& items, qsizetype width);
