#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// One column of a table for a person.
struct table_column
{
    QString title;
    bool right_aligned = false;
    bool may_shrink = false; ///< its texts may be shortened in the middle when the table is too wide
};

/// Lays out rows below their titles; each row holds one text a column. Lines are at most `width` code points long when
/// the columns that may shrink allow it, and end in no blanks.
QStringList table_lines(const QList<table_column>& columns, const QList<QStringList>& rows, qsizetype width);
