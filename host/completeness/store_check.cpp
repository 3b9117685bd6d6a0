#include "host/completeness/store_check.h"

#include "host/completeness/account_witnesses.h"
#include "host/completeness/mailbox_names.h"
#include "host/completeness/store_notes.h"
#include "host/completeness/store_sums.h"
#include "host/evidence/evidence_failure.h"
#include "host/files/file_tree.h"
#include "host/text/display_text.h"

#include <QFile>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <tuple>

namespace {

constexpr qint64 room_to_leave = qint64(64) << 20;

// Of messages of which the index could not tell more than that they are there, the rest is counted.
constexpr qint64 most_told_by_number = 100'000;

// A text that many messages share is written for each of them.
constexpr qint64 most_text_for_each_byte = 4;

/// A mailbox of the index with where its messages are counted.
struct indexed_mailbox
{
    QByteArray account;
    QByteArray path;
    bool is_label = false;
    qint32 line = -1;  // among the mailboxes; -1 as long as nothing lies in it
    qint32 label = -1; // among the labels; -1 as long as nothing bears it
};

/// A label and the position of a row that bears it.
using label_mark = std::pair<qint32, qint32>;

class store_checker
{
public:
    store_checker(const mail_store& looked_at, const completeness_request& asked, store_search& messages,
                  completeness_sink& taker)
        : store(looked_at)
        , request(asked)
        , search(messages)
        , sink(taker)
        , root_below_source(below_source(looked_at.root))
    {
        result.user = asked.user;
        result.mail_version = looked_at.mail_version;
        result.index.path = below_source(looked_at.index);
    }

    store_completeness check(const QHash<QByteArray, QString>& settings)
    {
        if (quiet_stat(store.root).kind == entry_kind::link && !store.mail_version.isEmpty()) {
            note_links({store.root}, request.source, result);
            return result;
        }
        find_files();
        open_index();
        if (index) {
            read_rows();
        }
        join();
        tell_disk_messages();
        if (index) {
            tell_index_only();
            finish_index();
        }
        arrange_lines();
        result.accounts = account_witnesses(files.accounts, result.mailboxes, settings);
        return result;
    }

private:
    QByteArray below_source(const QByteArray& path) const { return path_below(request.source, path); }

    mailbox_identity identity(const QByteArray& account, const QByteArray& mailbox) const
    {
        return {request.user, store.mail_version, account, mailbox};
    }

    mailbox_identity identity(qint32 line) const
    {
        return identity(lines[std::size_t(line)].account, lines[std::size_t(line)].mailbox);
    }

    QByteArray path_of(const mail_file& file) const { return child_path(root_below_source, files.path_of(file)); }

    void find_files()
    {
        files = search.take(sink);
        for (const mailbox_folder& folder : files.mailboxes) {
            const qint32 line = line_of(folder.account, mailbox_path(folder.names));
            lines[std::size_t(line)].has_folder = true;
        }
        add_notes(files, store, request.source, result);
    }

    qint32 line_of(const QByteArray& account, const QByteArray& mailbox)
    {
        const QByteArray key = account + '\0' + mailbox;
        const auto known = line_positions.constFind(key);
        if (known != line_positions.constEnd()) {
            return *known;
        }
        const auto position = qint32(lines.size());
        lines.push_back({account, mailbox, false, false, false, {}});
        line_positions.insert(key, position);
        return position;
    }

    void open_index()
    {
        // Against half of the files, rows would be said to have none.
        if (request.limits.cancelled()) {
            result.index.state = index_state::refused;
            result.index.problem = QStringLiteral("cancelled");
            return;
        }
        if (quiet_stat(store.index).kind == entry_kind::absent) {
            return;
        }
        try {
            require_room();
            copies.emplace(request.source, store.index, request.scratch, request.limits, request.copy_of);
            index = std::make_unique<mail_index>(*copies, request.limits);
        } catch (const evidence_failure& failure) {
            result.index.state = index_state::refused;
            result.index.problem = failure.message();
        }
    }

    void require_room() const
    {
        const qint64 needed = quiet_stat(store.index).size + quiet_stat(store.index + "-wal").size + room_to_leave;
        std::error_code unknown;
        const std::filesystem::path scratch = QFile::encodeName(request.scratch).toStdString();
        const auto free = static_cast<qint64>(std::filesystem::space(scratch, unknown).available); // -1 if unknown
        if (needed > free) {
            throw evidence_failure(QStringLiteral("%1: no room for its copy in %2: %3 needed, %4 free")
                                       .arg(display_text(below_source(store.index)), display_text(request.scratch),
                                            display_bytes(needed), display_bytes(std::max<qint64>(free, 0))));
        }
    }

    void read_rows()
    {
        const account_folders folders = by_lower_case(files.accounts);
        index->read_mailboxes([&](const index_mailbox& read) {
            const mailbox_address address = parse_mailbox_address(read.address);
            const QByteArray folder = folder_of(address, folders);
            indexed_mailbox mailbox{folder.isEmpty() ? account_of(address) : folder, mailbox_path(address.names),
                                    read.is_label};
            if (read.is_label) {
                mailbox.label = label_of(mailbox);
            } else {
                mailbox.line = line_of(mailbox.account, mailbox.path);
                lines[std::size_t(mailbox.line)].is_in_index = true;
            }
            mailboxes.insert(read.key, mailbox);
        });
        result.index.rows_stated = index->count_messages();
        rows.reserve(std::size_t(std::clamp<qint64>(result.index.rows_stated.value_or(0), 0, most_reserved)));
        index->read_entries([this](const index_entry& entry) {
            rows.push_back({entry.number, line_of_row(entry.mailbox), -1, entry.is_deleted});
        });
    }

    qint32 line_of_row(std::optional<qint64> key)
    {
        const auto mailbox = key ? mailboxes.find(*key) : mailboxes.end();
        if (mailbox == mailboxes.end()) {
            return line_of({}, {});
        }
        if (mailbox->line < 0) {
            mailbox->line = line_of(mailbox->account, mailbox->path);
            lines[std::size_t(mailbox->line)].is_in_index = true;
        }
        return mailbox->line;
    }

    qint32 label_of(const indexed_mailbox& mailbox)
    {
        labels.push_back({mailbox.account, mailbox.path, true, false, true, {}});
        return qint32(labels.size()) - 1;
    }

    void join()
    {
        joined = reconcile(files.files, rows, lines.size());
        for (std::size_t at = 0; at < lines.size(); ++at) {
            lines[at].figures = joined.figures[at];
        }
        sort_by_number(rows);
        if (index) {
            count_labels();
        }
        result.repeated = joined.repeated;
        result.pairs =
            std::count_if(files.files.begin(), files.files.end(), [](const mail_file& file) { return file.is_pair; });
    }

    void count_labels()
    {
        std::vector<label_mark> marks;
        index->read_labels([this, &marks](qint64 number, qint64 key) {
            const index_row* row = find_row(rows, number);
            const auto mailbox = mailboxes.find(key);
            if (!row || mailbox == mailboxes.end()) {
                ++result.dangling_labels;
                return;
            }
            // A label that names the mailbox in which the message lies says nothing new.
            if (line_of_identity(*mailbox) == row->mailbox) {
                return;
            }
            if (mailbox->label < 0) {
                mailbox->label = label_of(*mailbox);
            }
            marks.emplace_back(mailbox->label, qint32(row - rows.data()));
        });
        std::sort(marks.begin(), marks.end());
        marks.erase(std::unique(marks.begin(), marks.end()), marks.end());
        for (const auto& [label, row] : marks) {
            count_labelled(rows[std::size_t(row)], files.files, labels[std::size_t(label)].figures);
        }
    }

    qint32 line_of_identity(const indexed_mailbox& mailbox) const
    {
        return line_positions.value(mailbox.account + '\0' + mailbox.path, -1);
    }

    void tell_disk_messages()
    {
        for (std::size_t at = 0; at < files.files.size(); ++at) {
            const mail_file& file = files.files[at];
            const bool is_indexed = joined.has_row[at];
            if (file.is_readable() && is_indexed) {
                continue;
            }
            const index_row* same_number = is_indexed || file.number < 0 ? nullptr : find_row(rows, file.number);
            const bool is_elsewhere = same_number && same_number->file < 0;
            if (index && file.is_readable() && file.number >= 0) {
                without_row.push_back(qint32(at));
            }
            sink.add_disk_message({identity(file.mailbox), path_of(file), file.number, file.is_partial, is_indexed,
                                   file.is_readable() ? QString() : files.problems[file.problem()],
                                   is_elsewhere ? identity(same_number->mailbox).mailbox : QByteArray()});
        }
        std::sort(without_row.begin(), without_row.end(), [this](qint32 left, qint32 right) {
            return std::pair(number_of(left), left) < std::pair(number_of(right), right);
        });
    }

    /// Rows and what the index tells of them both come by ascending numbers. What it does not tell, for it could not be
    /// read so far, is told by the number alone.
    void tell_index_only()
    {
        std::size_t at = 0;
        const auto pass_below = [this, &at](qint64 number) {
            for (; at < rows.size() && rows[at].number < number; ++at) {
                tell_by_number(rows[at]);
            }
        };
        const auto is_wanted = [&](qint64 number) {
            pass_below(number);
            if (at == rows.size() || rows[at].number != number) {
                return false;
            }
            const bool is_index_only = rows[at].file < 0;
            at += is_index_only ? 0 : 1;
            return is_index_only;
        };
        text_left = copies->bytes() * most_text_for_each_byte + room_to_leave;
        index->read_messages(is_wanted, [&](const index_message& message) {
            text_left -= message.subject.size() + message.sender.size() + message.sender_name.size();
            if (text_left < 0) {
                tell_by_number(rows[at++]);
            } else {
                tell(rows[at++], message);
            }
        });
        for (; at < rows.size(); ++at) {
            tell_by_number(rows[at]);
        }
        if (not_told > 0) {
            result.notes.append(QStringLiteral("%1: %2 messages of the index alone are counted but not listed")
                                    .arg(display_text(below_source(store.index)), display_number(not_told)));
        }
        if (text_left < 0) {
            result.notes.append(QStringLiteral("%1: its messages have more text than can be listed")
                                    .arg(display_text(below_source(store.index))));
        }
    }

    qint64 number_of(qint32 position) const { return files.files[std::size_t(position)].number; }

    void tell_by_number(const index_row& row)
    {
        if (row.file < 0 && told_by_number++ >= most_told_by_number) {
            ++not_told;
        } else if (row.file < 0) {
            index_message message;
            message.number = row.number;
            message.is_deleted = row.is_deleted;
            tell(row, message);
        }
    }

    void tell(const index_row& row, const index_message& message)
    {
        ++told_index_only;
        const auto other =
            std::lower_bound(without_row.begin(), without_row.end(), row.number,
                             [this](qint32 position, qint64 number) { return number_of(position) < number; });
        const bool is_elsewhere = row.number >= 0 && other != without_row.end() && number_of(*other) == row.number;
        sink.add_index_only(
            {identity(row.mailbox), message, is_elsewhere ? path_of(files.files[std::size_t(*other)]) : QByteArray()});
    }

    void finish_index()
    {
        index_record& record = result.index;
        record.rows = qint64(rows.size());
        record.schema = index->schema();
        const bool is_whole = record.schema.is_whole && record.rows_stated == record.rows;
        record.state = is_whole ? index_state::read : index_state::incomplete;
    }

    void arrange_lines()
    {
        for (const mailbox_line& line : lines) {
            result.totals += line.figures;
        }
        result.mailboxes = lines;
        result.mailboxes.insert(result.mailboxes.end(), labels.begin(), labels.end());
        std::sort(result.mailboxes.begin(), result.mailboxes.end(),
                  [](const mailbox_line& left, const mailbox_line& right) {
                      return std::tie(left.account, left.mailbox, left.is_label) <
                             std::tie(right.account, right.mailbox, right.is_label);
                  });
        result.not_closing = sums_that_do_not_close(result, {files.seen, told_index_only + not_told, index != nullptr});
    }

    const mail_store& store;
    const completeness_request& request;
    store_search& search;
    completeness_sink& sink;
    const QByteArray root_below_source;
    store_completeness result;
    mail_files files;
    std::vector<mailbox_line> lines; // begins with the files' mailboxes
    std::vector<mailbox_line> labels;
    QHash<QByteArray, qint32> line_positions;
    std::optional<evidence_copies> copies;
    std::unique_ptr<mail_index> index;
    QHash<qint64, indexed_mailbox> mailboxes;
    std::vector<index_row> rows;
    reconciliation joined;
    std::vector<qint32> without_row; // where there is an index, positions of readable files without a row, by number
    qint64 told_index_only = 0;
    qint64 told_by_number = 0;
    qint64 not_told = 0;
    qint64 text_left = 0;
};

} // namespace

store_completeness check_store(const mail_store& store, const completeness_request& request,
                               const QHash<QByteArray, QString>& settings, store_search& search,
                               completeness_sink& sink)
{
    return store_checker(store, request, search, sink).check(settings);
}
