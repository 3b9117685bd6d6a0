#pragma once

#include "host/source/directory_notes.h"
#include "host/source/source_look.h"
#include "host/text/path_numbers.h"

#include <QByteArray>
#include <QStringList>

#include <functional>
#include <vector>

/// What the users' Mail directories and account stores consisted of at one moment: how many entries of which kind each
/// directory held. A second look shows whether somebody was at work in the source in between.
class source_snapshot
{
public:
    /// Looks at the Mail directory of each user with everything below it, and at the directory of his account stores.
    /// Follows no link below them and opens nothing but directories, and of them none that was `seen` a moment ago.
    source_snapshot(const QByteArray& source, const std::vector<QByteArray>& users, const directory_notes& seen);

    /// Looks again, but at nothing that was `seen` a moment ago, and says, a line each and the first of many only,
    /// which directories could not be listed, or are no longer as they were; to be asked once.
    QStringList changes_until_now(const directory_notes& seen);

    /// Says, a line each and the first of many only, which directories could not be listed.
    QStringList problems() const;

    /// Returns the paths below the source of all folders, and of links, below the Mail directories whose names are
    /// those of an account of the kind "IMAP" or "POP"; hidden ones and what lies in hidden ones is left out.
    std::vector<QByteArray> account_folders() const;

private:
    struct shape
    {
        qint64 files = 0;
        qint64 directories = 0;
        qint64 links = 0;
        qint64 others = 0;
        bool was_there = false;
        bool is_there_still = false; ///< when everything was looked at again

        bool is_as(const shape& other) const;
        QString text() const;
    };

    using shape_taker = std::function<void(const QByteArray& directory, const shape& found)>;

    /// A folder or a link that is named as an account's, whether hidden or not.
    struct account_name
    {
        QByteArray path;
        qsizetype mail_directory_size = 0; ///< of the beginning of the path
    };

    /// Has looked at nothing yet.
    source_snapshot(const QByteArray& source, const std::vector<QByteArray>& users);

    void look_at_all(const directory_notes& seen, const shape_taker& take);
    void look_at(const QByteArray& path, bool and_below, const directory_notes& seen, const shape_taker& take);
    void note_account_folders(const QByteArray& directory, const std::vector<QByteArray>& names,
                              qsizetype mail_directory_size);
    bool is_hidden(const account_name& folder) const;

    const QByteArray root;
    const std::vector<QByteArray> user_names;
    std::vector<account_name> account_names;
    std::vector<blocked_look> blocked;
    path_numbers paths;        ///< relative to the source
    std::vector<shape> shapes; ///< by number; of directories that were there
};
