#include "host/report/account_rows.h"

#include "host/files/all_cores.h"
#include "host/files/file_tree.h"
#include "host/files/tree_lister.h"
#include "host/result/result_database.h"
#include "host/result/row_folders.h"
#include "host/text/failure.h"
#include "host/text/utf8.h"
#include "support/shared_texts.h"

#include <QFile>
#include <QHash>
#include <QMap>
#include <QVariant>

#include <algorithm>

namespace {

// Of so few folders one may hold nearly everything.
constexpr std::size_t few_folders = 16;

report_account account_from_row(const checked_rows& row, const row_folders& folders)
{
    report_account account;
    account.account = row.value(1).toString();
    account.type = row.value(2).toString();
    account.files_copied = row.value(3).toLongLong();
    account.written_path = row.value(4).toString();
    const auto place = folders.place_of(account.written_path, row.value(0).toString());
    account.folder = folder_in_result(place.value_or(account.written_path));
    account.folder_exists = place.has_value();
    account.is_moved = place && *place != account.written_path;
    return account;
}

bool is_in_result(entry_status status)
{
    return status == entry_status::copied || status == entry_status::different;
}

void add_entry(report_amount& amount, const manifest_entry& entry)
{
    if (is_in_result(entry.status) || has_proven_copy(entry)) {
        ++amount.files;
        amount.bytes += entry.size;
    }
    amount.not_copied += is_fault(entry.status) ? 1 : 0;
}

/// Times that no Mac can have given its mail would leave no room for the others.
std::optional<int> year_of(const std::optional<file_time>& time)
{
    constexpr qint64 begin_of_2100 = 4'102'444'800;
    if (!time || time->seconds < 0 || time->seconds >= begin_of_2100) {
        return std::nullopt;
    }
    return QDateTime::fromSecsSinceEpoch(time->seconds, Qt::UTC).date().year();
}

/// Sums up a manifest as it is read, without keeping it.
struct manifest_sums
{
    QHash<QByteArray, report_amount> by_folder; ///< the accounts' folders, relative to the result
    QHash<QByteArray, report_amount> by_user;
    QHash<QByteArray, QMap<int, qint64>> years_by_user;
    std::array<QList<manifest_entry>, entry_status_names.size()> exceptions;
    report_manifest whole;

    void add(const manifest_entry& entry)
    {
        const auto status = static_cast<std::size_t>(entry.status);
        ++whole.totals[status];
        add_entry(by_user[entry.user], entry);
        if (const std::optional<int> year = year_of(entry.metadata.modified)) {
            ++years_by_user[entry.user][*year];
        }
        const bool is_kept = entry.status == entry_status::kept;
        whole.kept_hidden += is_kept && entry.reason == entry_status_name(entry_status::hidden) ? 1 : 0;
        whole.kept_loose += is_kept && entry.reason == entry_status_name(entry_status::loose) ? 1 : 0;
        // Each folder above the copy may be an account's, and account folders may lie in one another.
        for (qsizetype end = entry.copy.lastIndexOf('/'); end > 0; end = entry.copy.lastIndexOf('/', end - 1)) {
            const auto folder = by_folder.find(QByteArray::fromRawData(entry.copy.constData(), end));
            if (folder != by_folder.end()) {
                add_entry(*folder, entry);
            }
        }
        if (entry.status != entry_status::copied && entry.status != entry_status::kept &&
            entry.status != entry_status::hidden) {
            ++whole.exceptions_count;
            if (exceptions[status].size() < most_report_exceptions) {
                exceptions[status].append(entry);
            }
        }
    }
};

/// The exceptions of all statuses in one list, faults first, so that a limit never hides a fault behind a rule.
QList<manifest_entry> gravest_first(manifest_sums& sums)
{
    QList<manifest_entry> all;
    for (const entry_status status :
         {entry_status::missing, entry_status::different, entry_status::changed, entry_status::unreadable,
          entry_status::link, entry_status::special, entry_status::loose}) {
        all += sums.exceptions[static_cast<std::size_t>(status)];
    }
    all.resize(std::min(all.size(), most_report_exceptions));
    return all;
}

} // namespace

qint64 report_manifest::faults() const
{
    return count(entry_status::missing) + count(entry_status::different) + count(entry_status::changed) +
           count(entry_status::unreadable);
}

QList<report_user> load_report_users(const result_paths& result)
{
    const result_database database(result);
    checked_rows rows = database.query(
        QStringLiteral("SELECT system_user, account, account_type, files_copied, dest_path FROM %1 ORDER BY INT")
            .arg(shared_texts::accounts_table));
    const row_folders folders(result);
    QMap<QString, report_user> users;
    while (rows.next()) {
        report_user& user = users[rows.value(0).toString()];
        user.name = rows.value(0).toString();
        user.accounts.append(account_from_row(rows, folders));
    }
    return users.values();
}

report_manifest apply_manifest(const result_paths& result, QList<report_user>& users)
{
    manifest_reader reader(result.path(product::manifest));
    manifest_sums sums;
    for (const report_user& user : users) {
        for (const report_account& account : user.accounts) {
            sums.by_folder.insert(account.folder.toUtf8(), {});
        }
    }
    while (const auto entry = reader.next()) {
        sums.add(*entry);
    }
    for (report_user& user : users) {
        user.mail_tree = sums.by_user.take(user.name.toUtf8());
        user.files_by_year = sums.years_by_user.value(user.name.toUtf8());
        for (report_account& account : user.accounts) {
            account.amount = sums.by_folder.value(account.folder.toUtf8());
        }
    }
    for (auto rest = sums.by_user.cbegin(); rest != sums.by_user.cend(); ++rest) {
        // What belongs to no user, as the system's version, makes none.
        if (!rest.key().isEmpty()) {
            users.append({text_from_utf8(rest.key()), {}, rest.value(), sums.years_by_user.value(rest.key())});
        }
    }
    sums.whole.exceptions = gravest_first(sums);
    return sums.whole;
}

QStringList measure_account_folders(const result_paths& result, const folder_amounts& known, QList<report_user>& users)
{
    std::vector<report_account*> accounts;
    for (report_user& user : users) {
        for (report_account& account : user.accounts) {
            const auto found = known.find(QFile::encodeName(account.folder));
            if (found != known.end()) {
                account.amount = {found->second, 0};
            } else if (account.folder_exists) {
                accounts.push_back(&account);
            }
        }
    }
    std::vector<QByteArray> folders;
    folders.reserve(accounts.size());
    for (const report_account* account : accounts) {
        folders.push_back(QFile::encodeName(result.below(account->folder)));
    }
    std::vector<QString> problems(accounts.size());
    const auto measure = [&](std::size_t at, const directory_lister& list) {
        accounts[at]->amount = {visible_files_below(folders[at], problems[at], list), 0};
    };
    if (accounts.size() < few_folders) {
        tree_lister lister(folders);
        for (std::size_t at = 0; at < accounts.size(); ++at) {
            measure(at, [&lister](const QByteArray& path) { return lister.next(path); });
        }
    } else {
        for_each_on_all_cores(
            accounts.size(), [&](std::size_t at) { measure(at, quiet_list); }, 1);
    }
    QStringList found(problems.begin(), problems.end());
    found.removeAll(QString());
    return found;
}
