#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// As narrow as a column may get whose texts are recognised by a few letters.
inline constexpr qsizetype narrow_column = 8;

/// One column of a table for a person.
struct table_column
{
    QString title;
    bool right_aligned = false;
    qsizetype narrowest = 0; ///< to this its texts may be shortened when the table is too wide; 0 for not at all
};

/// Lays out rows below their titles; each row holds one text a column. Lines are at most `width` columns wide when
/// the columns that may shrink allow it, and end in no blanks; where they do not and the width is that of a small
/// screen, each row becomes a block of lines, one a column, of which nothing is shortened.
QStringList table_lines(const QList<table_column>& columns, const QList<QStringList>& rows, qsizetype width);
