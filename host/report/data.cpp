#include "host/report/data.h"

#include "host/text/display_text.h"
#include "host/log/log_failures.h"
#include "host/report/account_rows.h"
#include "host/result/result_paths.h"

#include <QDateTime>
#include <QFileInfo>

#include <algorithm>

namespace {

void add_failures(report_data& data)
{
    if (data.run && data.run->status != QStringLiteral("running")) {
        data.failures_known = true;
        data.failures = data.run->log_failures;
        data.failure_lines = data.run->log_failure_lines;
        return;
    }
    // A run that was killed did not come to count them.
    const bool is_named = data.run && QFileInfo::exists(data.run->log_path);
    const QString path = is_named ? data.run->log_path : product_path(data.result, "log.txt");
    const log_failures found = read_log_failures(path, 0, data.run && data.run->log_enciphered);
    data.failures_known = found.problem.isEmpty();
    data.failures = found.count;
    data.failure_lines = found.first;
    if (!data.failures_known) {
        data.notes.append(path + QStringLiteral(": the log cannot be read: ") + found.problem);
    }
}

void add_run_record(report_data& data)
{
    QString error;
    data.run = read_run_record(data.result, error);
    if (!data.run) {
        data.notes.append(error.isEmpty() ? run_record_path(data.result) + QStringLiteral(": no run record there")
                                          : error);
    }
}

void add_manifest(report_data& data)
{
    const QString path = product_path(data.result, "manifest.csv");
    QString reason;
    data.manifest = apply_manifest(data.result, data.users, reason);
    if (!data.manifest) {
        data.notes.append(reason);
        return;
    }
    const QDateTime written = QFileInfo(path).lastModified().toUTC();
    data.manifest->written = written;
    if (data.run && (!data.run->verification || data.run->verification->totals != data.manifest->totals)) {
        data.notes.append(QStringLiteral("The figures of the verification are not those of the run itself: %1 was "
                                         "written later, on %2.")
                              .arg(path, display_time(written)));
    }
}

/// Adds users of whom the run tells and who have no row, and what it says of each user's files.
void add_users_of_run(report_data& data)
{
    if (!data.run) {
        return;
    }
    for (const user_record& told : data.run->users) {
        auto user = std::find_if(data.users.begin(), data.users.end(),
                                 [&told](const report_user& known) { return known.name == told.name; });
        if (user == data.users.end()) {
            data.users.append({told.name, {}, {}});
            user = data.users.end() - 1;
        }
        user->mail_tree = {told.files_copied, told.bytes, 0};
    }
}

/// Where neither manifest nor run record tell of a user's whole mail, what is known is the accounts.
void sum_up_accounts(report_user& user)
{
    if (user.mail_tree.files > 0) {
        return;
    }
    for (const report_account& account : user.accounts) {
        user.mail_tree.files += account.amount.files;
        user.mail_tree.bytes += account.amount.bytes;
    }
}

} // namespace

std::optional<report_data> load_report_data(const QString& result, QString& error)
{
    report_data data;
    data.result = result;
    auto users = load_report_users(result, error);
    if (!users) {
        return std::nullopt;
    }
    data.users = *users;
    add_run_record(data);
    add_users_of_run(data);
    add_manifest(data);
    if (!data.manifest) {
        measure_account_folders(result, data.users);
        for (report_user& user : data.users) {
            sum_up_accounts(user);
        }
    }
    std::sort(data.users.begin(), data.users.end(),
              [](const report_user& a, const report_user& b) { return a.name < b.name; });
    add_failures(data);
    return data;
}

QString short_folder(const report_account& account)
{
    // "Artifacts_Result", the plug-in's own folder, and the dated one come first.
    return account.folder.section(QLatin1Char('/'), 3);
}

qint64 report_manifest::faults() const
{
    return count(entry_status::missing) + count(entry_status::different) + count(entry_status::unreadable);
}
