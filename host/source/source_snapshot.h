#pragma once

#include "host/source/directory_notes.h"
#include "host/source/source_look.h"

#include <QByteArray>
#include <QStringList>

#include <map>
#include <vector>

/// What the users' Mail directories and account stores consisted of at one moment: how many entries of which kind each
/// directory held. Two of them show that somebody was at work in the source in between.
class source_snapshot
{
public:
    /// Looks at the Mail directory of each user with everything below it, and at the directory of his account stores.
    /// Follows no link below them and opens nothing but directories, and of them none that was `seen` a moment ago.
    source_snapshot(const QByteArray& source, const std::vector<QByteArray>& users, const directory_notes& seen = {});

    /// Says, a line each and the first of many only, which directories are no longer as `earlier` saw them.
    QStringList differences_from(const source_snapshot& earlier) const;

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

        bool operator==(const shape&) const = default;
        QString text() const;
    };

    /// A folder or a link that is named as an account's, whether hidden or not.
    struct account_name
    {
        QByteArray path;
        qsizetype mail_directory_size = 0; ///< of the beginning of the path
    };

    void look_at(const QByteArray& path, bool and_below, const directory_notes& seen);
    void note_account_folders(const QByteArray& directory, const std::vector<QByteArray>& names,
                              qsizetype mail_directory_size);
    bool is_hidden(const account_name& folder) const;

    const QByteArray root;
    std::vector<account_name> account_names;
    std::vector<blocked_look> blocked;
    std::map<QByteArray, shape> shapes; ///< by path relative to the source
};
