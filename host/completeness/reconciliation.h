#pragma once

#include "host/completeness/mail_files.h"

#include <array>
#include <vector>

/// What is known of one mailbox, in messages; attachments in parts.
struct completeness_figures
{
    qint64 on_disk = 0;            ///< files, a pair of forms as one
    qint64 indexed = 0;            ///< rows, those marked deleted included
    qint64 both = 0;               ///< readable files with a row
    qint64 disk_only = 0;          ///< readable files without one
    qint64 index_only = 0;         ///< rows without a file
    qint64 unreadable = 0;         ///< files that are not readable as a message
    qint64 unreadable_indexed = 0; ///< those of them that have a row
    qint64 attachments_absent = 0; ///< parts of partial files whose content is neither in them nor beside them
    qint64 deleted = 0;            ///< rows marked deleted

    /// True when the classes are disjoint and whole, as they must be.
    bool closes() const;
    completeness_figures& operator+=(const completeness_figures& other);
    bool operator==(const completeness_figures&) const = default;
};

/// One figure with the name that it has in every output.
struct named_figure
{
    const char* name;
    qint64 completeness_figures::*value;
};

inline constexpr std::array figure_names{named_figure{"on_disk", &completeness_figures::on_disk},
                                         named_figure{"indexed", &completeness_figures::indexed},
                                         named_figure{"both", &completeness_figures::both},
                                         named_figure{"disk_only", &completeness_figures::disk_only},
                                         named_figure{"index_only", &completeness_figures::index_only},
                                         named_figure{"unreadable", &completeness_figures::unreadable},
                                         named_figure{"unreadable_indexed", &completeness_figures::unreadable_indexed},
                                         named_figure{"attachments_absent", &completeness_figures::attachments_absent},
                                         named_figure{"deleted", &completeness_figures::deleted}};

/// One row of the index.
struct index_row
{
    qint64 number;           ///< the message's, as in the names of files; negative when it is no such number
    qint32 mailbox;          ///< position in the list that the files' mailboxes begin
    qint32 file = -1;        ///< position of its file; -1 when there is none
    bool is_deleted = false; ///< marked deleted
};

/// Rows and files joined by mailbox and number.
struct reconciliation
{
    std::vector<bool> has_row;                 ///< by file
    std::vector<completeness_figures> figures; ///< by mailbox
    qint64 repeated = 0;                       ///< files whose number another file of their mailbox bears as well
};

/// Joins, filling in the rows' files, and counts; `mailboxes` is how many there are. Where several files of a mailbox
/// bear the number of a row, one is its file: the one that lies in its place, then a readable one.
reconciliation reconcile(const std::vector<mail_file>& files, std::vector<index_row>& rows, std::size_t mailboxes);

/// Adds one labelled row to the figures of its label.
void count_labelled(const index_row& row, const std::vector<mail_file>& files, completeness_figures& label);

/// Sorts rows by number, as find_row() wants them.
void sort_by_number(std::vector<index_row>& rows);
/// Returns the row of a number; null when there is none.
const index_row* find_row(const std::vector<index_row>& rows, qint64 number);
