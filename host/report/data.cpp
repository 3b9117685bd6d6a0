#include "host/report/data.h"

#include "host/files/quiet_reading.h"
#include "host/log/log_failures.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <algorithm>
#include <utility>

namespace {

void add_failures(report_data& data)
{
    if (data.run && data.run->status != run_status::running) {
        data.failures_known = true;
        data.failures = data.run->log_failures;
        data.failure_lines = data.run->log_failure_lines;
        return;
    }
    // A run that was killed did not come to count them.
    const bool is_named = data.run && QFileInfo::exists(data.run->log_path);
    const QString path = is_named ? data.run->log_path : data.result.path(product::log);
    const log_failures found = read_log_failures(path, 0, data.run && data.run->log_enciphered);
    data.failures_known = found.problem.isEmpty();
    data.failures = found.count;
    data.failure_lines = found.first;
    if (!data.failures_known) {
        data.notes.append(path + QStringLiteral(": the log cannot be read: ") + found.problem);
    }
}

void add_run_record(report_data& data)
try {
    data.run = read_run_record(data.result);
    if (!data.run) {
        data.notes.append(data.result.path(product::run_record) + QStringLiteral(": no run record there"));
    }
} catch (const failure& unreadable) {
    data.unreadable.append(unreadable.message());
}

/// Without any trace of a run, a database that cannot be read means that this is no result.
void add_users(report_data& data)
try {
    data.users = load_report_users(data.result);
} catch (const failure& unread) {
    if (!data.run && !data.proof.seal && data.unreadable.isEmpty()) {
        throw;
    }
    data.unreadable.append(unread.message());
}

void add_manifest(report_data& data)
{
    const QString path = data.result.path(product::manifest);
    try {
        data.manifest = apply_manifest(data.result, data.users);
    } catch (const failure& unsound) {
        const bool is_there = quiet_stat(QFile::encodeName(path)).kind != entry_kind::absent;
        (is_there ? data.unreadable : data.notes).append(unsound.message());
        return;
    }
    const entry_facts facts = quiet_stat(QFile::encodeName(path));
    if (!facts.error.isEmpty()) {
        data.unreadable.append(QStringLiteral("%1: %2").arg(path, facts.error));
    }
    const QDateTime written = QDateTime::fromSecsSinceEpoch(facts.modified.seconds, Qt::UTC);
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
    QHash<QString, qsizetype> places;
    for (const report_user& known : std::as_const(data.users)) {
        places.insert(known.name, places.size());
    }
    for (const user_record& told : data.run->users) {
        if (!places.contains(told.name)) {
            places.insert(told.name, data.users.size());
            data.users.append({told.name, {}, {}});
        }
        data.users[places.value(told.name)].mail_tree = {{told.files_copied, told.bytes}, 0};
    }
}

/// Where neither manifest nor run record tell of a user's whole mail, what is known is the accounts.
void sum_up_accounts(report_user& user)
{
    if (user.mail_tree.files > 0) {
        return;
    }
    for (const report_account& account : user.accounts) {
        user.mail_tree += account.amount;
    }
}

} // namespace

report_data load_report_data(const result_paths& result, const folder_amounts& known, const result_seal* sealed_now)
{
    report_data data{result};
    data.proof = load_proof(result, sealed_now);
    add_run_record(data);
    add_users(data);
    add_users_of_run(data);
    add_manifest(data);
    if (!data.manifest) {
        data.unreadable += measure_account_folders(result, known, data.users);
        for (report_user& user : data.users) {
            sum_up_accounts(user);
        }
    }
    std::sort(data.users.begin(), data.users.end(),
              [](const report_user& a, const report_user& b) { return a.name < b.name; });
    add_failures(data);
    return data;
}
