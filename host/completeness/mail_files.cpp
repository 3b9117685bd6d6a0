#include "host/completeness/mail_files.h"

#include "host/completeness/judged_message.h"
#include "host/completeness/mailbox_names.h"
#include "host/files/file_tree.h"
#include "host/source/folder_names.h"

#include <QHash>

#include <algorithm>
#include <optional>

namespace {

constexpr const char* whole_ending = ".emlx";
constexpr const char* partial_ending = ".partial";

/// Finder's leavings and the second halves of files on foreign disks hold no mail.
bool is_foreign(const QByteArray& name)
{
    return name == ".DS_Store" || name.startsWith("._");
}

/// One message file of a directory, not looked into yet.
struct candidate
{
    qint64 number;
    bool is_partial;
    const named_entry* entry;

    bool operator<(const candidate& other) const
    {
        return std::pair(number, is_partial) < std::pair(other.number, other.is_partial);
    }
};

QByteArray name_of(qint64 number, bool is_partial)
{
    return QByteArray::number(number) + (is_partial ? partial_ending : "") + whole_ending;
}

std::optional<candidate> candidate_of(const named_entry& entry)
{
    QByteArray stem = entry.name.toLower();
    if (!stem.endsWith(whole_ending) || is_foreign(entry.name)) {
        return std::nullopt;
    }
    stem.chop(qsizetype(qstrlen(whole_ending)));
    const bool is_partial = stem.endsWith(partial_ending);
    stem.chop(is_partial ? qsizetype(qstrlen(partial_ending)) : 0);
    bool is_number = false;
    const qint64 number = stem.toLongLong(&is_number);
    const bool is_canonical = is_number && number >= 0 && QByteArray::number(number) == stem;
    return candidate{is_canonical ? number : -1, is_partial, &entry};
}

/// Where the mail program keeps the message of a number: its thousands' digits, the last one first.
QByteArray place_of(qint64 number)
{
    QByteArray place = "/Data";
    for (qint64 thousands = number / 1000; thousands > 0; thousands /= 10) {
        place += '/';
        place += char('0' + thousands % 10);
    }
    return place + "/Messages";
}

bool holds_content(const QByteArray& directory, const std::function<bool()>& cancelled)
{
    bool found = false;
    walk_tree(directory, [&](const tree_entry& entry) {
        const QByteArray name = entry.path.mid(entry.path.lastIndexOf('/') + 1);
        found = entry.facts.kind == entry_kind::file && entry.facts.size > 0 && !is_foreign(name);
        return !found && !cancelled();
    });
    return found;
}

class tree_reader
{
public:
    tree_reader(mail_files& target, const std::function<void(const absent_attachment&)>& absent_sink,
                const std::function<bool()>& asked)
        : files(target)
        , on_absent(absent_sink)
        , cancelled(asked)
    {
    }

    void read_account(const QByteArray& folder)
    {
        account = comparable_name(folder);
        files.accounts.append(account);
        pending.clear();
        pending.push_back({folder, {}, {}, -1});
        while (!pending.empty() && !cancelled()) {
            const place here = std::move(pending.back());
            pending.pop_back();
            read_directory(here);
        }
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

    void read_directory(const place& here)
    {
        const directory_listing listing = quiet_list(child_path(files.root, here.path));
        if (!listing.error.isEmpty()) {
            files.notes.push_back({here.path, listing.error});
        }
        std::vector<candidate> candidates;
        for (const named_entry& entry : listing.entries) {
            const auto message = candidate_of(entry);
            if (entry.facts.kind == entry_kind::directory) {
                add_directory(here, entry.name);
            } else if (message) {
                candidates.push_back(*message);
                ++files.seen;
            } else if (!entry.facts.error.isEmpty()) {
                files.notes.push_back({child_path(here.path, entry.name), entry.facts.error});
            } else if (entry.facts.kind == entry_kind::link) {
                files.links.push_back(child_path(here.path, entry.name));
            }
        }
        if (!candidates.empty()) {
            read_messages(here, listing, candidates);
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

    void read_messages(const place& here, const directory_listing& listing, std::vector<candidate>& candidates)
    {
        std::sort(candidates.begin(), candidates.end());
        const qint32 mailbox = mailbox_of(here);
        const auto directory = qint32(files.directories.size());
        files.directories.push_back(here.path);
        for (std::size_t at = 0; at < candidates.size(); ++at) {
            if (cancelled()) {
                files.seen -= qint64(candidates.size() - at);
                return;
            }
            const candidate& first = candidates[at];
            const candidate* second = at + 1 < candidates.size() ? &candidates[at + 1] : nullptr;
            const bool is_pair = second && first.number >= 0 && second->number == first.number && !first.is_partial &&
                                 second->is_partial;
            mail_file file = read_message(here, listing, first, mailbox);
            if (is_pair) {
                // The whole form says all there is to say, unless it is damaged.
                if (!file.is_readable()) {
                    const mail_file partial = read_message(here, listing, *second, mailbox);
                    file = partial.is_readable() ? partial : file;
                }
                file.is_pair = true;
                ++at;
            }
            file.directory = directory;
            files.files.push_back(file);
        }
    }

    mail_file read_message(const place& here, const directory_listing& listing, const candidate& message,
                           qint32 mailbox)
    {
        const QByteArray& name = message.entry->name;
        mail_file file;
        file.number = message.number;
        file.mailbox = mailbox;
        file.is_partial = message.is_partial;
        file.is_in_place = message.number >= 0 && here.path.endsWith(place_of(message.number));
        if (message.number < 0 || name != name_of(message.number, message.is_partial)) {
            file.named = qint32(files.names.size());
            files.names.push_back(name);
        }
        const QByteArray path = child_path(here.path, name);
        const judged_message judged = judge_message_file(child_path(files.root, path), message.is_partial);
        file.problem = judged.problem.isEmpty() ? -1 : problem_position(judged.problem);
        if (!judged.note.isEmpty()) {
            files.notes.push_back({path, judged.note});
        }
        for (const emptied_part& part : judged.parts) {
            if (file.is_readable() && !is_kept(here.path, listing, message.number, part.number)) {
                ++file.absent;
                on_absent({files.mailboxes[std::size_t(mailbox)], path, part});
            }
        }
        return file;
    }

    /// The content of a part lies decoded in a folder of its own, or encoded beside the message.
    bool is_kept(const QByteArray& directory, const directory_listing& listing, qint64 number, const QByteArray& part)
    {
        const QByteArray beside = QByteArray::number(number) + '.' + part + ".emlxpart";
        const auto found =
            std::lower_bound(listing.entries.begin(), listing.entries.end(), beside,
                             [](const named_entry& entry, const QByteArray& name) { return entry.name < name; });
        if (found != listing.entries.end() && found->name == beside && found->facts.kind == entry_kind::file &&
            found->facts.size > 0) {
            return true;
        }
        const bool is_usual = directory.endsWith("/Messages");
        const QByteArray bucket = is_usual ? directory.left(directory.lastIndexOf('/')) : directory;
        return holds_content(child_path(files.root, bucket) + "/Attachments/" + QByteArray::number(number) + '/' + part,
                             cancelled);
    }

    qint32 problem_position(const QString& problem)
    {
        const auto known = problems.constFind(problem);
        if (known != problems.constEnd()) {
            return *known;
        }
        const auto position = qint32(files.problems.size());
        files.problems.push_back(problem);
        problems.insert(problem, position);
        return position;
    }

    mail_files& files;
    const std::function<void(const absent_attachment&)>& on_absent;
    const std::function<bool()>& cancelled;
    QByteArray account;
    std::vector<place> pending;
    QHash<QByteArray, qint32> mailboxes;
    QHash<QString, qint32> problems;
};

} // namespace

QByteArray mail_files::path_of(const mail_file& file) const
{
    const QByteArray name = file.named < 0 ? name_of(file.number, file.is_partial) : names[std::size_t(file.named)];
    return child_path(directories[std::size_t(file.directory)], name);
}

mail_files find_mail_files(const QByteArray& root, const std::function<bool(const QByteArray& folder)>& is_account,
                           const std::function<void(const absent_attachment&)>& on_absent,
                           const std::function<bool()>& cancelled)
{
    mail_files files;
    files.root = root;
    const directory_listing listing = quiet_list(root);
    if (!listing.error.isEmpty()) {
        files.notes.push_back({{}, listing.error});
    }
    tree_reader reader(files, on_absent, cancelled);
    for (const named_entry& entry : listing.entries) {
        if (!is_account(entry.name)) {
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
