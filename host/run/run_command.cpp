#include "host/run/run_command.h"

#include "host/terminal/command_failure.h"
#include "host/terminal/console.h"
#include "host/result/dated_folders.h"
#include "host/terminal/exit_codes.h"
#include "host/run/extraction.h"
#include "host/files/hashing.h"
#include "host/terminal/interruption.h"
#include "host/log/log_failures.h"
#include "host/run/plugin_library.h"
#include "host/report/document.h"
#include "host/result/result_database.h"
#include "host/run/guards.h"
#include "host/run/preparation.h"
#include "host/result/run_record.h"
#include "host/run/summary.h"
#include "host/files/file_tree.h"
#include "host/verify/verification_progress.h"

#include <QCoreApplication>
#include <QDate>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

/// Returns the files in a user's dated folder; one from before the run is not its work.
file_amount copied_files(const QByteArray& result, const std::vector<dated_folder>& folders, QDate begun)
{
    return folders.empty() || folders.front().date < begun
               ? file_amount()
               : visible_files_below(child_path(result, folders.front().path));
}

QJsonObject options_to_json(const run_options& options)
{
    return {{"users", QJsonArray::fromStringList(options.users)},
            {"scheme", options.scheme},
            {"source_type", options.source_type},
            {"source_number", options.source_number},
            {"engine_type", options.engine_type},
            {"clear", options.clear},
            {"append", options.append},
            {"as_suite", options.as_suite},
            {"no_verify", options.no_verify},
            {"follow_links_outside", options.follow_links_outside}};
}

run_record begin_record(const run_options& options, const run_plan& plan, const plugin_library& library)
{
    run_record record = begin_run_record(QCoreApplication::arguments());
    record.plugin_path = library.path();
    record.plugin_version = library.version();
    QString unreadable;
    if (const auto digest = sha256_of_file(library.path(), unreadable)) {
        record.plugin_sha256 = QString::fromLatin1(digest_to_hex(*digest));
    }
    record.source = QDir::cleanPath(plan.settings.source_root);
    record.result = plan.settings.result_directory;
    record.options = options_to_json(options);
    for (const source_user& user : plan.settings.users) {
        record.users.append({user.name});
    }
    record.log_path = plan.settings.log_path;
    record.log_enciphered = plan.settings.log_enciphered;
    record.error = plan.left_out;
    return record;
}

/// Looks at what the plug-in left: the files of the copied trees, the rows it wrote, the failures it logged.
void take_stock(const run_plan& plan, QDate begun, run_record& record)
{
    const QByteArray result = QFile::encodeName(record.result);
    auto folders = find_dated_folders(result);
    for (user_record& user : record.users) {
        const file_amount copied = copied_files(result, folders[QFile::encodeName(user.name)], begun);
        user.files_copied = copied.files;
        user.bytes = copied.bytes;
    }
    const log_failures failures = read_log_failures(record.log_path, plan.log_begin, record.log_enciphered);
    record.log_failures = failures.count;
    record.log_failure_lines = failures.first;
    if (!failures.problem.isEmpty()) {
        record.add_error(QStringLiteral("cannot read the log %1: %2").arg(record.log_path, failures.problem));
    }
    try {
        count_account_rows(record.result, plan.last_row, record.users);
    } catch (const command_failure& failure) {
        record.add_error(failure.message());
    }
}

void verify_run(run_record& record, const run_options& options)
{
    verification_request request{record.source, record.result, {}, options.users.isEmpty()};
    for (const user_record& user : record.users) {
        request.users.append(user.name);
    }
    const verification_result found = verify_with_progress(request, options.quiet);
    if (!found.error.isEmpty()) {
        record.add_error(found.error);
    } else if (!found.cancelled) {
        record.verification = found.summary;
    }
}

void end_record(const run_plan& plan, run_record& record)
{
    const bool verified_whole = !record.verification || record.verification->whole;
    if (interruption::requested()) {
        record.status = QStringLiteral("cancelled");
        record.exit_code = exit_code::cancelled;
    } else {
        record.status = QStringLiteral("finished");
        record.exit_code = plan.settings.scheme != macos_scheme ? exit_code::no_mail_directory : exit_code::whole;
        if (record.log_failures > 0 || !verified_whole || !record.error.isEmpty()) {
            record.exit_code = exit_code::with_failures;
        }
    }
    record.ended = QDateTime::currentDateTimeUtc();
}

/// Saves the record and writes the report, which tells of it; what fails then is a failure of the run as well.
void publish(run_record& record)
{
    QString error;
    const auto fail = [&] {
        record.add_error(error);
        if (record.exit_code != exit_code::cancelled) {
            record.exit_code = exit_code::with_failures;
        }
    };
    const auto save = [&] {
        if (!write_run_record(record.result, record, error)) {
            fail();
        }
    };
    save();
    if (!write_report(record.result, default_report_path(record.result), error)) {
        fail();
        save();
    }
}

} // namespace

int run_command(const run_options& options)
{
    interruption::watch();
    run_plan plan = prepare_run(options);
    const plugin_library library(options.plugin_file);
    if (plan.settings.scheme == macos_scheme) {
        guard_run(plan.settings, options.follow_links_outside);
    }
    if (interruption::requested()) {
        throw command_failure(exit_code::cancelled, QStringLiteral("cancelled; nothing was done"));
    }
    create_result(options, plan);

    run_record record = begin_record(options, plan, library);
    if (QString error; !write_run_record(record.result, record, error)) {
        // Without the new record, the old one would speak for a run that is killed.
        refuse(error);
    }
    try {
        remove_earlier_results(options, plan.settings);
    } catch (const command_failure& failure) {
        record.status = QStringLiteral("failed");
        record.exit_code = exit_code::could_not_run;
        record.add_error(failure.message());
        record.ended = QDateTime::currentDateTimeUtc();
        if (QString error; !write_run_record(record.result, record, error)) {
            complain(error);
        }
        throw;
    }
    const QDate begun = QDate::currentDate();
    extract(library, plan.settings, progress_style_for(options.quiet));
    take_stock(plan, begun, record);
    if (!options.no_verify && plan.settings.scheme == macos_scheme && !interruption::requested()) {
        verify_run(record, options);
    }
    end_record(plan, record);
    publish(record);

    if (options.json) {
        print_bytes(QJsonDocument(run_record_to_json(record)).toJson());
    } else {
        print_run_summary(record);
    }
    complain_about_run(record);
    return *record.exit_code;
}
