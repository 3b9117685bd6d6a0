#pragma once

#include "host/files/file_tree.h"
#include "host/source/link_problems.h"
#include "host/source/source_look.h"

#include <map>
#include <set>
#include <utility>
#include <vector>

/// Device and inode.
using directory_identity = std::pair<quint64, quint64>;

/// Goes where a copy of directory trees would go: into every directory that is not hidden, through links too, but
/// not out of the source and not round a cycle. Each real directory is read once, however many links lead to it, so
/// that a source made to waste time cannot.
class copy_walk
{
public:
    /// Files and what they take; sums stop at a number that no file system reaches.
    struct amount : file_amount
    {
        qint64 room = 0;        ///< bytes when every file counts in whole allocation units
        qint64 directories = 0; ///< what its copy makes besides the files

        amount& operator+=(const amount& other);
    };

    /// What the copy of a directory's content takes.
    struct extent
    {
        amount tree;
        amount directories; ///< the directory itself and those in it, be they empty
        amount accounts;    ///< the account folders below it, which are copied once more
        amount identifiers; ///< the folders directly in it that are named by an identifier
        amount left_out;    ///< hidden and loose files, which the copy leaves, and the directories of the hidden
    };

    /// Returns what the copy of one file takes.
    static amount amount_of_file(qint64 bytes);
    /// Returns what a directory takes besides its content.
    static amount amount_of_directory();

    /// Directories are listed by `lister`.
    explicit copy_walk(const QByteArray& source_root, directory_lister lister = quiet_list);

    /// Examines the links on the way from the source's root to `path` below it. False when one leaves the source.
    bool follow_way(const QByteArray& path);
    /// Walks a Mail directory, in which only folders are copied. An absent one has no extent.
    extent walk_mail_directory(const QByteArray& mail_directory);
    /// Returns the problems met so far, each link once.
    const std::vector<link_problem>& problems() const { return found; }
    /// Returns what could not be looked at, each place once, as whole paths; a walk goes on beside it.
    const std::vector<blocked_look>& unread() const { return blocked; }
    /// Returns how many files the copy of each folder has that is named as an account's.
    const std::map<directory_identity, qint64>& files_of_accounts() const { return account_files; }

private:
    using identity = directory_identity;

    enum class depth
    {
        mail_directory,
        below
    };

    /// A directory whose content is being looked at.
    struct open_directory
    {
        QByteArray path;
        QByteArray name; ///< in the directory that it is reached from
        identity id;
        depth where = depth::below;
        bool is_link = false; ///< reached through the last of `followed_links`
        std::vector<named_entry> entries = {};
        std::size_t next = 0;
        extent sum = {};
    };

    extent walk(open_directory start);
    void take(const QByteArray& directory, depth where, const named_entry& entry);
    void leave_out(const QByteArray& path, const entry_facts& facts);
    void take_link(const QByteArray& link, depth where, const QByteArray& name);
    bool enter(open_directory inner);
    void note_account(const open_directory& folder, const extent& content);
    void add_to_parent(const extent& content, const QByteArray& name, bool is_link);
    extent close();
    bool stays_inside(const QByteArray& link, const QByteArray& target);
    void report(const QByteArray& link, const QByteArray& target, link_problem_kind kind);

    QByteArray root; ///< as given
    directory_lister list;
    QByteArray resolved_root;
    std::vector<link_problem> found;
    std::vector<blocked_look> blocked;
    std::set<QByteArray> reported;
    std::set<identity> being_walked;
    std::map<identity, extent> walked;
    std::map<identity, qint64> account_files;
    // Held here rather than in calls of calls: links can lead deeper than any stack of calls.
    std::vector<open_directory> open;         ///< from the Mail directory to where the walk is now
    std::vector<link_problem> followed_links; ///< on the way there
};
