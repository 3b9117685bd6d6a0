#include "host/completeness/mail_files.h"

#include "host/completeness/judged_message.h"
#include "host/completeness/mailbox_names.h"
#include "host/completeness/message_names.h"
#include "host/files/all_cores.h"
#include "host/files/file_tree.h"
#include "host/source/folder_names.h"

#include <QHash>

#include <algorithm>
#include <deque>
#include <future>
#include <optional>
#include <utility>

namespace {

// Enough for all cores, few enough to bound the memory.
constexpr std::size_t candidates_at_once = 1024;
// To begin a thread takes as long as to look into some of them.
constexpr std::size_t candidates_for_a_thread = 64;

/// One message file of a directory, and once it was looked into, what that gave.
struct candidate
{
    message_name name;
    const named_kind* entry;
    bool begins_pair = false; ///< the next one is the same message, of which the whole form says all there is to say
    judged_message judged = {};
    std::vector<emptied_part> absent = {}; ///< of a readable message, the parts that nothing on disk holds

    bool operator<(const candidate& other) const
    {
        return std::pair(name.number, name.is_partial) < std::pair(other.name.number, other.name.is_partial);
    }
};

bool holds_content(const QByteArray& directory, const std::function<bool()>& cancelled)
{
    bool found = false;
    walk_tree(directory, [&](const tree_entry& entry) {
        const QByteArray name = entry.path.mid(entry.path.lastIndexOf('/') + 1);
        found = entry.facts.kind == entry_kind::file && entry.facts.size > 0 && !is_foreign_name(name);
        return !found && !cancelled();
    });
    return found;
}

kinds_listing list_by_name(const QByteArray& directory)
{
    kinds_listing listing = quiet_kinds(directory);
    std::sort(listing.entries.begin(), listing.entries.end(),
              [](const named_kind& left, const named_kind& right) { return left.name < right.name; });
    return listing;
}

class tree_reader
{
public:
    tree_reader(mail_files& target, const mail_file_search& wanted) : files(target), search(wanted) {}

    void read_account(const QByteArray& folder)
    {
        account = comparable_name(folder);
        files.accounts.append(account);
        pending.clear();
        pending.push_back({folder, {}, {}, -1});
        while (!pending.empty() && !search.cancelled()) {
            const place here = std::move(pending.back());
            pending.pop_back();
            read_directory(here);
            if (candidates_waiting >= candidates_at_once) {
                look_into_waiting();
            }
        }
        look_into_waiting();
        take_looked_into();
    }

private:
    /// A directory that is still to be read.
    struct place
    {
        QByteArray path;         // below the root
        QList<QByteArray> names; // of the mailboxes it lies in
        QList<QByteArray> plain; // folders below the innermost mailbox
        qint32 mailbox = -1;
    };

    /// A directory that was listed, whose messages are still to be looked into.
    struct listed_directory
    {
        QByteArray path;
        kinds_listing listing;             ///< by ascending names
        std::vector<candidate> candidates; ///< point into the listing
        qint32 mailbox = -1;
        std::vector<walk_note> notes;
    };

    void read_directory(const place& here)
    {
        listed_directory listed{here.path, list_by_name(child_path(files.root, here.path)), {}, -1, {}};
        if (!listed.listing.error.isEmpty()) {
            listed.notes.push_back({here.path, listed.listing.error});
        }
        for (const named_kind& entry : listed.listing.entries) {
            const auto message = read_message_name(entry.name);
            if (entry.kind == entry_kind::directory) {
                add_directory(here, entry.name);
            } else if (message) {
                listed.candidates.push_back({*message, &entry});
                ++files.seen;
            } else if (entry.kind == entry_kind::link) {
                files.links.push_back(child_path(here.path, entry.name));
            } else if (entry.kind == entry_kind::unknown || entry.kind == entry_kind::absent) {
                note_unseen(child_path(here.path, entry.name), listed.notes);
            }
        }
        if (!listed.candidates.empty()) {
            listed.mailbox = mailbox_of(here);
            sort_candidates(listed.candidates);
            candidates_waiting += listed.candidates.size();
        }
        if (!listed.candidates.empty() || !listed.notes.empty()) {
            waiting.push_back(std::move(listed));
        }
    }

    /// Most file systems tell the kind with the name; of what they do not, says why it could not be looked at.
    void note_unseen(const QByteArray& path, std::vector<walk_note>& notes) const
    {
        const QString reason = quiet_stat(child_path(files.root, path)).error;
        if (!reason.isEmpty()) {
            notes.push_back({path, reason});
        }
    }

    static void sort_candidates(std::vector<candidate>& candidates)
    {
        std::sort(candidates.begin(), candidates.end());
        for (std::size_t at = 0; at + 1 < candidates.size(); ++at) {
            candidate& first = candidates[at];
            const candidate& second = candidates[at + 1];
            first.begins_pair = first.name.number >= 0 && second.name.number == first.name.number &&
                                !first.name.is_partial && second.name.is_partial;
        }
    }

    void add_directory(const place& here, const QByteArray& name)
    {
        place inner{child_path(here.path, name), here.names, here.plain, here.mailbox};
        if (is_mailbox_folder(name)) {
            inner.names += inner.plain;
            inner.names.append(comparable_name(name_of_mailbox_folder(name)));
            inner.plain.clear();
            inner.mailbox = mailbox_at(inner.names);
        } else if (here.mailbox >= 0 && name == "Attachments") {
            return; // what was attached to messages may be messages itself
        } else {
            inner.plain.append(comparable_name(name));
        }
        pending.push_back(std::move(inner));
    }

    qint32 mailbox_at(const QList<QByteArray>& names)
    {
        const QByteArray key = account + '\0' + names.join('\0');
        const auto known = mailboxes.constFind(key);
        if (known != mailboxes.constEnd()) {
            return *known;
        }
        const auto position = qint32(files.mailboxes.size());
        files.mailboxes.push_back({account, names});
        mailboxes.insert(key, position);
        return position;
    }

    /// Messages outside of any mailbox folder belong to the plain folders above those that only spread them.
    qint32 mailbox_of(const place& here)
    {
        if (here.mailbox >= 0) {
            return here.mailbox;
        }
        QList<QByteArray> names;
        for (const QByteArray& folder : here.plain) {
            if (folder == "Data" || folder == "Messages" || naming_of(folder) == folder_naming::identifier) {
                break;
            }
            names.append(folder);
        }
        return mailbox_at(names);
    }

    /// Begins to look into the messages of all directories that wait, beside the further walk.
    void look_into_waiting()
    {
        take_looked_into();
        in_work = std::exchange(waiting, {});
        candidates_in_work = std::exchange(candidates_waiting, 0);
        to_look_into = not_known_to_be_messages();
        const bool is_worth_it = to_look_into.size() >= candidates_for_a_thread;
        looking = std::async(is_worth_it ? std::launch::async | std::launch::deferred : std::launch::deferred,
                             [this] { look_into_all(); });
    }

    /// Returns those of the messages in work that have to be opened.
    std::vector<std::pair<listed_directory*, candidate*>> not_known_to_be_messages()
    {
        std::vector<std::pair<listed_directory*, candidate*>> messages;
        for (listed_directory& listed : in_work) {
            const QByteArray directory = child_path(files.root, listed.path);
            for (std::size_t at = 0; at < listed.candidates.size(); at += listed.candidates[at].begins_pair ? 2 : 1) {
                candidate& message = listed.candidates[at];
                message.judged.is_read = !message.name.is_partial && message.entry->kind == entry_kind::file &&
                                         search.begins_as_message &&
                                         search.begins_as_message(child_path(directory, message.entry->name));
                if (!message.judged.is_read) {
                    messages.emplace_back(&listed, &message);
                }
            }
        }
        return messages;
    }

    /// Looks into the messages in work on all cores.
    void look_into_all()
    {
        for_each_on_all_cores(to_look_into.size(), [this](std::size_t at) {
            if (search.cancelled()) {
                return;
            }
            const auto& [listed, message] = to_look_into[at];
            look_into(*listed, *message);
            // The other form matters only where the whole one is damaged.
            if (message->begins_pair && !message->judged.problem.isEmpty()) {
                look_into(*listed, *std::next(message));
            }
        });
    }

    /// Waits for the messages in work and takes them in the order of the walk.
    void take_looked_into()
    {
        if (!looking.valid()) {
            return;
        }
        looking.get();
        const std::deque<listed_directory> looked_into = std::exchange(in_work, {});
        if (search.cancelled()) {
            files.seen -= qint64(candidates_in_work);
            return;
        }
        std::for_each(looked_into.begin(), looked_into.end(), [this](const auto& listed) { take_messages(listed); });
        if (search.looked_into && candidates_in_work > 0) {
            search.looked_into(qint64(candidates_in_work));
        }
    }

    /// Fills in what a message file holds; called by several threads.
    void look_into(const listed_directory& listed, candidate& message) const
    {
        const QByteArray path = child_path(child_path(files.root, listed.path), message.entry->name);
        read_content(path, quiet_stat(path), search.copy_of, [&message](const quiet_file& content) {
            message.judged = judge_message_file(content, message.name.is_partial);
            return message.judged.is_read;
        });
        if (!message.judged.problem.isEmpty()) {
            return;
        }
        for (const emptied_part& part : message.judged.parts) {
            if (!is_kept(listed.path, listed.listing, message.name.number, part.number)) {
                message.absent.push_back(part);
            }
        }
    }

    void take_messages(const listed_directory& listed)
    {
        files.notes.insert(files.notes.end(), listed.notes.begin(), listed.notes.end());
        if (listed.candidates.empty()) {
            return;
        }
        const auto directory = quint32(files.directories.size());
        files.directories.push_back(listed.path);
        for (std::size_t at = 0; at < listed.candidates.size(); ++at) {
            const candidate& first = listed.candidates[at];
            mail_file file = take_message(listed, first);
            if (first.begins_pair) {
                if (!file.is_readable()) {
                    const mail_file partial = take_message(listed, listed.candidates[at + 1]);
                    file = partial.is_readable() ? partial : file;
                }
                file.is_pair = true;
                ++at;
            }
            file.directory = directory & mail_file::most_directories;
            files.files.push_back(file);
        }
    }

    mail_file take_message(const listed_directory& listed, const candidate& message)
    {
        const QByteArray& name = message.entry->name;
        mail_file file;
        file.number = message.name.number;
        file.mailbox = listed.mailbox;
        file.is_partial = message.name.is_partial;
        file.is_in_place = message.name.number >= 0 && listed.path.endsWith(place_of_message(message.name.number));
        if (!message.name.is_usual) {
            file.named = qint32(files.names.size());
            files.names.push_back(name);
        }
        file.judgement = message.judged.problem.isEmpty() ? qint32(message.absent.size())
                                                          : ~problem_position(message.judged.problem);
        if (!message.judged.note.isEmpty()) {
            files.notes.push_back({child_path(listed.path, name), message.judged.note});
        }
        for (const emptied_part& part : message.absent) {
            search.on_absent({files.mailboxes[std::size_t(listed.mailbox)], child_path(listed.path, name), part});
        }
        return file;
    }

    /// The content of a part lies decoded in a folder of its own, or encoded beside the message.
    bool is_kept(const QByteArray& directory, const kinds_listing& listing, qint64 number, const QByteArray& part) const
    {
        const QByteArray beside = QByteArray::number(number) + '.' + part + ".emlxpart";
        const auto found =
            std::lower_bound(listing.entries.begin(), listing.entries.end(), beside,
                             [](const named_kind& entry, const QByteArray& name) { return entry.name < name; });
        if (found != listing.entries.end() && found->name == beside && found->kind == entry_kind::file &&
            quiet_stat(child_path(child_path(files.root, directory), beside)).size > 0) {
            return true;
        }
        const bool is_usual = directory.endsWith("/Messages");
        const QByteArray bucket = is_usual ? directory.left(directory.lastIndexOf('/')) : directory;
        return holds_content(child_path(files.root, bucket) + "/Attachments/" + QByteArray::number(number) + '/' + part,
                             search.cancelled);
    }

    qint32 problem_position(const QString& problem)
    {
        const qint32 position = problems.value(problem, qint32(files.problems.size()));
        if (std::size_t(position) == files.problems.size()) {
            files.problems.push_back(problem);
            problems.insert(problem, position);
        }
        return position;
    }

    mail_files& files;
    const mail_file_search& search;
    QByteArray account;
    std::vector<place> pending;
    std::deque<listed_directory> waiting; // elements stay where they are
    std::size_t candidates_waiting = 0;
    std::deque<listed_directory> in_work; // being looked into by other threads
    std::size_t candidates_in_work = 0;
    std::vector<std::pair<listed_directory*, candidate*>> to_look_into; // of those in work
    QHash<QByteArray, qint32> mailboxes;
    QHash<QString, qint32> problems;
    std::future<void> looking; // ends before what it works on
};

} // namespace

QByteArray mail_files::path_of(const mail_file& file) const
{
    const QByteArray name = file.named < 0 ? usual_name(file.number, file.is_partial) : names[std::size_t(file.named)];
    return child_path(directories[std::size_t(file.directory)], name);
}

mail_files find_mail_files(const QByteArray& root, const mail_file_search& search)
{
    mail_files files;
    files.root = root;
    files.files.reserve(std::size_t(std::max<qint64>(search.most_expected, 0)));
    const directory_listing listing = quiet_list(root);
    if (!listing.error.isEmpty()) {
        files.notes.push_back({{}, listing.error});
    }
    tree_reader reader(files, search);
    for (const named_entry& entry : listing.entries) {
        if (!search.is_account(entry.name)) {
            continue;
        }
        if (entry.facts.kind == entry_kind::directory) {
            reader.read_account(entry.name);
        } else if (entry.facts.kind == entry_kind::link) {
            files.links.push_back(entry.name);
        }
    }
    return files;
}
