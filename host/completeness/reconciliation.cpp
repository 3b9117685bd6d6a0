#include "host/completeness/reconciliation.h"

#include <algorithm>
#include <numeric>
#include <tuple>

namespace {

/// Positions of files in the order of the join; of several with one number, the row's own comes first.
std::vector<qint32> files_in_order(const std::vector<mail_file>& files)
{
    std::vector<qint32> order(files.size());
    std::iota(order.begin(), order.end(), 0);
    const auto key = [&files](qint32 at) {
        const mail_file& file = files[std::size_t(at)];
        return std::tuple(file.mailbox, file.number, !file.is_in_place, !file.is_readable(), at);
    };
    std::sort(order.begin(), order.end(), [&key](qint32 left, qint32 right) { return key(left) < key(right); });
    return order;
}

void count(const mail_file& file, bool has_row, completeness_figures& figures)
{
    ++figures.on_disk;
    figures.attachments_absent += file.absent();
    if (!file.is_readable()) {
        ++figures.unreadable;
        figures.unreadable_indexed += has_row ? 1 : 0;
    } else {
        ++(has_row ? figures.both : figures.disk_only);
    }
}

void count(const index_row& row, completeness_figures& figures)
{
    ++figures.indexed;
    figures.index_only += row.file < 0 ? 1 : 0;
    figures.deleted += row.is_deleted ? 1 : 0;
}

} // namespace

bool completeness_figures::closes() const
{
    return on_disk == both + disk_only + unreadable && indexed == both + index_only + unreadable_indexed &&
           unreadable_indexed <= unreadable && deleted <= indexed;
}

completeness_figures& completeness_figures::operator+=(const completeness_figures& other)
{
    for (const named_figure& figure : figure_names) {
        this->*figure.value += other.*figure.value;
    }
    return *this;
}

reconciliation reconcile(const std::vector<mail_file>& files, std::vector<index_row>& rows, std::size_t mailboxes)
{
    reconciliation joined;
    joined.has_row.resize(files.size());
    joined.figures.resize(mailboxes);
    const std::vector<qint32> order = files_in_order(files);
    std::sort(rows.begin(), rows.end(), [](const index_row& left, const index_row& right) {
        return std::pair(left.mailbox, left.number) < std::pair(right.mailbox, right.number);
    });
    const auto key_of = [&files](qint32 at) {
        const mail_file& file = files[std::size_t(at)];
        return std::pair(file.mailbox, file.number);
    };
    std::size_t at = 0;
    for (index_row& row : rows) {
        const std::pair sought(row.mailbox, row.number);
        while (at < order.size() && key_of(order[at]) < sought) {
            ++at;
        }
        // A file serves one row, should a forged index repeat a number.
        if (row.number >= 0 && at < order.size() && key_of(order[at]) == sought &&
            !joined.has_row[std::size_t(order[at])]) {
            row.file = order[at];
            joined.has_row[std::size_t(row.file)] = true;
        }
        count(row, joined.figures[std::size_t(row.mailbox)]);
    }
    for (std::size_t i = 0; i < order.size(); ++i) {
        const mail_file& file = files[std::size_t(order[i])];
        count(file, joined.has_row[std::size_t(order[i])], joined.figures[std::size_t(file.mailbox)]);
        joined.repeated += i > 0 && file.number >= 0 && key_of(order[i]) == key_of(order[i - 1]) ? 1 : 0;
    }
    return joined;
}

void count_labelled(const index_row& row, const std::vector<mail_file>& files, completeness_figures& label)
{
    count(row, label);
    if (row.file >= 0) {
        count(files[std::size_t(row.file)], true, label);
    }
}

void sort_by_number(std::vector<index_row>& rows)
{
    std::sort(rows.begin(), rows.end(),
              [](const index_row& left, const index_row& right) { return left.number < right.number; });
}

const index_row* find_row(const std::vector<index_row>& rows, qint64 number)
{
    const auto found = std::lower_bound(rows.begin(), rows.end(), number,
                                        [](const index_row& row, qint64 sought) { return row.number < sought; });
    return found == rows.end() || found->number != number ? nullptr : &*found;
}
