#pragma once

#include "host/files/file_amount.h"
#include "host/files/quiet_reading.h"
#include "host/text/path_numbers.h"

#include <QByteArray>

#include <optional>
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

/// Keeps what a walk saw of the directories of trees, so that another need not list them again. There may be millions,
/// which take some hundred bytes of memory each.
class directory_notes
{
public:
    directory_notes() = default;
    /// Of trees whose roots are taken for not hidden.
    explicit directory_notes(const std::vector<QByteArray>& trees);

    /// Takes the listing of a directory after that of the one that it lies in. One that is not whole, or names what
    /// could not be looked at, is not kept.
    void add(const QByteArray& path, const directory_listing& listing);
    /// Returns what was seen of a directory; nothing when nothing was. May be asked by several threads.
    std::optional<directory_note> find(const QByteArray& path) const;

private:
    /// What is known of one path, be it no more than what the directory that it lies in tells.
    struct kept_note
    {
        file_amount amount;
        qint64 others = 0;
        std::size_t inner_begin = 0; ///< of its directories, then of its links, among `inner`
        quint32 directories = 0;
        quint32 links = 0;
        file_time changed;
        bool is_root = false;
        bool is_told_visible = false; ///< by a directory known to be neither hidden nor in anything hidden
        bool is_listed = false;
        bool is_plain = false;

        bool is_visible() const { return is_root || is_told_visible; }
    };

    kept_note& note_at(quint32 number);
    void take_back_what_it_told(const kept_note& listed);

    path_numbers paths;
    std::vector<kept_note> notes; ///< by number of the path; those after the last one are empty
    std::vector<quint32> inner;   ///< numbers of what lies in the listed directories
};
