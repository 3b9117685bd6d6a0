#include "host/run_command.h"

#include "host/command_failure.h"
#include "host/console.h"
#include "host/exit_codes.h"
#include "host/extraction.h"
#include "host/hashing.h"
#include "host/interruption.h"
#include "host/log_failures.h"
#include "host/mail_tree_size.h"
#include "host/plugin_library.h"
#include "host/report.h"
#include "host/result_database.h"
#include "host/run_guards.h"
#include "host/run_preparation.h"
#include "host/run_record.h"
#include "host/run_summary.h"
#include "host/run_verification.h"

#include <QCoreApplication>
#include <QDate>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

/// Returns the user's dated folder; a run that passes midnight may have begun it on the day before.
QString dated_folder(const QString& result, const QString& user, QDate begun)
{
    const auto folder = [&](QDate day) {
        return QStringLiteral("%1/Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor_%2_%3")
            .arg(result, user, day.toString(QStringLiteral("MM-dd-yyyy")));
    };
    return QFileInfo::exists(folder(begun)) ? folder(begun) : folder(QDate::currentDate());
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

/// Writes the record where it is looked for; a record that cannot be written must not keep the run from its work.
void save(const run_record& record)
{
    QString error;
    if (!write_run_record(record.result, record, error)) {
        complain(error);
    }
}

/// Looks at what the plug-in left: the files of the copied trees, the rows it wrote, the failures it logged.
void take_stock(const run_plan& plan, QDate begun, run_record& record)
{
    for (user_record& user : record.users) {
        const file_amount copied = visible_tree_size(dated_folder(record.result, user.name, begun));
        user.files_copied = copied.files;
        user.bytes = copied.bytes;
    }
    const log_failures failures = read_log_failures(record.log_path, plan.log_begin, record.log_enciphered);
    record.log_failures = failures.count;
    record.log_failure_lines = failures.first;
    if (!failures.problem.isEmpty()) {
        record.error = QStringLiteral("cannot read the log %1: %2").arg(record.log_path, failures.problem);
        return;
    }
    try {
        count_account_rows(record.result, plan.last_row, record.users);
    } catch (const command_failure& failure) {
        record.error = failure.message();
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

} // namespace

int run_command(const run_options& options)
{
    interruption::watch();
    run_plan plan = prepare_run(options);
    const plugin_library library(options.plugin_file);
    guard_run(plan.settings, options.follow_links_outside);
    create_result(plan);

    run_record record = begin_record(options, plan, library);
    save(record);
    const QDate begun = QDate::currentDate();
    extract(library, plan.settings, progress_style_for(options.quiet));
    take_stock(plan, begun, record);
    if (!options.no_verify && plan.settings.scheme == macos_scheme && !interruption::requested()) {
        verify_run(record, options.quiet);
    }
    end_record(plan, record);
    save(record);
    if (QString error; !write_report(record.result, default_report_path(record.result), error)) {
        complain(error);
    }

    if (options.json) {
        print_bytes(QJsonDocument(run_record_to_json(record)).toJson());
    } else {
        print_run_summary(record);
    }
    complain_about_run(record);
    return *record.exit_code;
}
