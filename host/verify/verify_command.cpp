#include "host/verify/verify_command.h"

#include "host/files/durable_file.h"
#include "host/files/exclusive_lock.h"
#include "host/files/file_tree.h"
#include "host/report/document.h"
#include "host/report/proof.h"
#include "host/result/run_record.h"
#include "host/result/source_guard.h"
#include "host/result/verification_record.h"
#include "host/terminal/command_failure.h"
#include "host/terminal/console.h"
#include "host/terminal/interruption.h"
#include "host/terminal/login_name.h"
#include "host/terminal/progress.h"
#include "host/verify/findings_file.h"
#include "host/verify/recheck_progress.h"
#include "host/verify/recheck_text.h"
#include "host/verify/recorded_source.h"
#include "host/verify/seal_check.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonDocument>

#include <algorithm>

namespace {

bool holds_a_run(const result_paths& result)
{
    const QStringList traces{result.path(product::run_record), result.path(product::manifest),
                             result.path(product::seal)};
    return std::any_of(traces.begin(), traces.end(), [](const QString& path) { return QFileInfo::exists(path); });
}

void add_problem(verification_record& record, const QString& problem)
{
    if (!problem.isEmpty()) {
        record.problem += (record.problem.isEmpty() ? QString() : QStringLiteral("; ")) + problem;
    }
}

/// Without the record nobody knows which source there was.
std::optional<run_record> record_of_run(const result_paths& result, QString& problem)
try {
    return read_run_record(result);
} catch (const failure& unreadable) {
    complain(unreadable.message());
    problem = unreadable.message();
    return std::nullopt;
}

/// Looks at the seal; false when cancelled.
bool look_at_seal(const result_paths& result, const verify_options& options, const finding_listener& found,
                  verification_record& record)
{
    const progress_style style = progress_style_for(options.quiet);
    progress shown(QStringLiteral("checking the seal"),
                   style == progress_style::silent ? file_amount() : sealed_amount(result), style);
    const seal_outcome seal = check_seal(
        result, options.expected_root, found, [&shown](file_amount done) { shown.update(done); },
        interruption::requested);
    record.sealed = seal.is_there;
    record.root_hash = seal.root_hash;
    record.root_expected = seal.expected;
    record.sealed_files = seal.files;
    record.seal_findings = seal.differing;
    return !seal.cancelled;
}

/// Says what of the source could not be looked at; empty when nothing was in the way.
QString what_is_blocked(const recorded_source& source, const recheck_request& request)
{
    if (source.is_blocked) {
        return source.note;
    }
    return request.blocked.isEmpty()
               ? QString()
               : QStringLiteral("not all users of the source could be looked at: ") + request.blocked;
}

/// Looks at copies and sources; false when cancelled.
bool look_at_files(const recheck_request& request, const finding_listener& found, bool quiet,
                   verification_record& record)
try {
    const recheck_outcome files = recheck_with_progress(request, found, quiet);
    record.copies = files.copies;
    record.copy_findings = files.copy_findings;
    record.sources = files.sources;
    record.source_findings = files.source_findings;
    record.recorded_faults = files.recorded_faults;
    return !files.cancelled;
} catch (const failure& unsound) {
    add_problem(record, unsound.message());
    complain(unsound.message());
    return true;
}

/// Has the report tell of the verification; false, and says so, when it cannot be written, or from a part only.
bool renew_report(const result_paths& result)
try {
    const report_outcome report = write_report(result, result.path(product::report));
    for (const QString& problem : report.unread) {
        complain(QStringLiteral("not in the report: ") + problem);
    }
    return report.unread.isEmpty();
} catch (const failure& unwritten) {
    complain(QStringLiteral("the report is as it was before: ") + unwritten.message());
    return false;
}

verification_record begin_record()
{
    verification_record record;
    record.verified = QDateTime::currentDateTimeUtc();
    record.program_version = QCoreApplication::applicationVersion();
    record.login_name = login_name();
    return record;
}

/// Says why nothing can be written to a result; empty when it can.
QString why_not_written(const result_paths& result)
{
    for (const QString& folder : {result.products(), result.verifications()}) {
        if (const QString reason = exclusive_lock::reason_against(folder); !reason.isEmpty()) {
            return reason;
        }
    }
    return {};
}

/// An earlier record that cannot be read may have said that the result is not whole.
QString what_is_unreadable(const result_paths& result)
{
    for (const verification_record& earlier : read_verification_records(result)) {
        if (is_unreadable(earlier)) {
            return QStringLiteral("an earlier verification is not known: ") + earlier.problem;
        }
    }
    return {};
}

void print_outcome(const verification_record& record, const QString& place, bool as_json)
{
    if (as_json) {
        print_bytes(QJsonDocument(verification_to_json(record)).toJson());
        return;
    }
    for (const QString& line : recheck_lines(record)) {
        print_line(line);
    }
    print_line(place.isEmpty() ? QStringLiteral("record: none") : QStringLiteral("record: %1.json").arg(place));
}

} // namespace

int verify_command(const verify_options& options)
{
    const result_paths result(options.result);
    if (!QFileInfo(result.root()).isDir()) {
        refuse(QStringLiteral("cannot verify %1: not a directory").arg(options.result));
    }
    if (!holds_a_run(result)) {
        refuse(QStringLiteral("cannot verify %1: no run has left a record, a manifest or a seal there")
                   .arg(options.result));
    }
    QString unknown_run;
    const std::optional<run_record> run = record_of_run(result, unknown_run);
    const recorded_source source = choose_source(result, run, options.source, options.other_source);
    refuse_planted_links(result);
    if (!source.path.isEmpty()) {
        keep_out_of_source(source.path, result);
    }
    const QString unwritable = why_not_written(result);
    std::optional<exclusive_lock> lock;
    if (unwritable.isEmpty()) {
        make_folder(result.verifications());
        lock.emplace(result.path(product::lock));
    } else {
        complain(QStringLiteral("this verification is not recorded, and the report stays as it is: ") + unwritable);
    }
    interruption::watch();

    verification_record record = begin_record();
    record.source = source.path;
    record.source_note = source.note;
    if (!source.note.isEmpty() && !options.quiet) {
        complain(source.note);
    }
    const QString place = lock ? free_verification_place(result, record.verified) : QString();
    findings_file findings(lock ? place + QStringLiteral(".csv") : QString());
    const finding_listener found = [&findings](const finding& one) { findings.add(one); };
    const bool is_seal_seen = look_at_seal(result, options, found, record);
    const recheck_request request = recheck_request_for(result, source, run);
    add_problem(record, unknown_run);
    add_problem(record, what_is_blocked(source, request));
    add_problem(record, what_is_unreadable(result));
    if (!is_seal_seen || !look_at_files(request, found, options.quiet, record)) {
        throw command_failure(exit_code::cancelled,
                              QStringLiteral("%1: cancelled; nothing is recorded").arg(options.result));
    }
    findings.tell();
    record.whole = record.findings() == 0 && record.problem.isEmpty();
    findings.commit();
    bool is_told = true;
    if (lock) {
        write_verification_record(place, record);
        is_told = renew_report(result);
    }
    print_outcome(record, place, options.json);
    return record.whole && is_told ? exit_code::whole : exit_code::with_failures;
}
