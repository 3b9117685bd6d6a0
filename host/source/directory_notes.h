#pragma once

#include "host/files/file_amount.h"
#include "host/files/quiet_reading.h"

#include <QByteArray>
#include <QHash>

#include <vector>

/// What a listing said of one directory.
struct directory_note
{
    std::vector<QByteArray> directories; ///< the names of those directly in it
    std::vector<QByteArray> links;       ///< the same of links, not followed
    file_amount amount;    ///< of the files directly in it; without their bytes where only kinds were listed
    qint64 others = 0;     ///< neither file nor directory nor link
    bool is_plain = false; ///< known to be in nothing hidden, and to hold nothing hidden
    file_time changed; ///< of the directory itself, of a plain one: when it is another, the note is of an earlier time
};

/// Returns what kinds alone say, which is never known to be plain.
directory_note note_of(const kinds_listing& listing);

/// Keeps what a walk saw of the directories of trees, so that another need not list them again.
class directory_notes
{
public:
    directory_notes() = default;
    /// Of trees whose roots are taken for not hidden.
    explicit directory_notes(const std::vector<QByteArray>& trees);

    /// Takes the listing of a directory after that of the one that it lies in. One that is not whole, or names what
    /// could not be looked at, is not kept.
    void add(const QByteArray& path, const directory_listing& listing);
    /// Returns what was seen of a directory; nullptr when nothing was.
    const directory_note* find(const QByteArray& path) const;

private:
    struct inner_directory
    {
        bool is_hidden = false;
        file_time changed;
    };
    struct kept_note
    {
        directory_note note;
        bool is_visible = false;            ///< known to be neither hidden nor in anything hidden
        std::vector<inner_directory> inner; ///< of the note's directories, in their order, which is that of the names
    };

    /// Fills in what the directory that it lies in tells of a directory.
    void look_from_above(const QByteArray& path, kept_note& kept) const;

    std::vector<QByteArray> roots; ///< sorted
    QHash<QByteArray, kept_note> notes;
};
