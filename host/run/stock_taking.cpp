#include "host/run/stock_taking.h"

#include "host/files/file_tree.h"
#include "host/log/log_failures.h"
#include "host/result/dated_folders.h"
#include "host/result/result_database.h"
#include "host/text/failure.h"

#include <QFile>

namespace {

/// Returns the files in a user's dated folder; one from before the run is not its work.
file_amount copied_files(const run_plan& plan, const std::vector<dated_folder>& folders, QDate begun,
                         const copies_of_run& copies, QString& problem)
{
    if (folders.empty() || folders.front().date < begun) {
        return {};
    }
    const QByteArray& folder = folders.front().path;
    const file_amount told = copies.amount_in(folder);
    return told.files > 0 ? told : visible_files_below(child_path(plan.result.native_root(), folder), problem);
}

} // namespace

void take_stock(const run_plan& plan, QDate begun, qint64 signalled_rows, const copies_of_run& copies,
                run_record& record)
{
    const log_failures failures = read_log_failures(record.log_path, plan.log_begin, record.log_enciphered);
    record.log_failures = failures.count;
    record.log_failure_lines = failures.first;
    if (!failures.problem.isEmpty()) {
        record.add_error(QStringLiteral("cannot read the log %1: %2").arg(record.log_path, failures.problem));
    }
    try {
        auto folders = find_dated_folders(plan.result);
        for (user_record& user : record.users) {
            QString problem;
            const file_amount copied =
                copied_files(plan, folders[QFile::encodeName(user.name)], begun, copies, problem);
            if (!problem.isEmpty()) {
                record.add_error(problem);
            }
            user.files_copied = copied.files;
            user.bytes = copied.bytes;
        }
        const qint64 rows = count_account_rows(plan.result, record.users);
        if (rows != signalled_rows) {
            record.add_error(QStringLiteral("%1 holds %2 accounts, and the plug-in told of %3: what is missing was not "
                                            "written to the disk")
                                 .arg(plan.result.database(), QString::number(rows), QString::number(signalled_rows)));
        }
        for (const QString& problem : problems_of_row_folders(plan.result)) {
            record.add_error(problem);
        }
    } catch (const failure& unreadable) {
        record.add_error(unreadable.message());
    }
}
