#include "host/run/run_command.h"

#include "host/evidence/private_directory.h"
#include "host/extraction/plugin_library.h"
#include "host/files/durable_file.h"
#include "host/files/hashing.h"
#include "host/files/quiet_reading.h"
#include "host/files/spare_memory.h"
#include "host/report/document.h"
#include "host/result/seal.h"
#include "host/row_check/row_check.h"
#include "host/run/copies_of_run.h"
#include "host/run/earlier_results.h"
#include "host/run/guards.h"
#include "host/run/mail_database_step.h"
#include "host/run/preparation.h"
#include "host/run/run_journal.h"
#include "host/run/stock_taking.h"
#include "host/run/summary.h"
#include "host/run/witness_keeping.h"
#include "host/source/source_snapshot.h"
#include "host/source/system_time_zone.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/terminal/interruption.h"
#include "host/text/failure.h"
#include "host/verify/seal_check.h"
#include "host/verify/verification_progress.h"

#include <QCoreApplication>
#include <QDate>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <future>
#include <memory>

namespace {

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
            {"read_twice", options.read_twice},
            {"one_by_one", options.one_by_one},
            {"follow_links_outside", options.follow_links_outside}};
}

/// Returns the SHA-256 of a file of our own; empty when it cannot be read.
QString hex_sha256(const QString& path)
{
    QString unreadable;
    const QByteArray resolved = resolved_path(QFile::encodeName(path));
    const auto digest = sha256_of_file(resolved, unreadable);
    return digest ? QString::fromLatin1(digest_to_hex(*digest)) : QString();
}

run_record begin_record(const run_options& options, const run_plan& plan, const plugin_library& library,
                        std::future<QString>& program_sha256)
{
    run_record record = begin_run_record(QCoreApplication::arguments());
    record.plugin_path = library.path();
    record.plugin_version = library.version();
    record.plugin_sha256 = hex_sha256(library.path());
    record.program_sha256 = program_sha256.get();
    record.source = QDir::cleanPath(plan.settings.source_root);
    record.identity = plan.identity;
    record.source_time_zone = system_time_zone(QFile::encodeName(plan.settings.source_root));
    record.about = plan.about;
    record.result = plan.result.root();
    record.options = options_to_json(options);
    for (const source_user& user : plan.settings.users) {
        record.users.append({user.name});
    }
    record.users_left_out = plan.passed_over;
    record.log_path = plan.settings.log_path;
    record.log_enciphered = plan.settings.log_enciphered;
    record.error = plan.left_out;
    for (const QString& blocked : plan.identity.blocked) {
        if (!record.error.contains(blocked)) {
            record.add_error(QStringLiteral("what tells the source from others is not all known: ") + blocked);
        }
    }
    return record;
}

/// Without a manifest, what is not as it should be is told by the record alone; what is no copy has no line there.
void add_what_no_manifest_tells(const verification_result& found, bool has_manifest, run_record& record)
{
    if (found.failure_count > 0 && !has_manifest) {
        const manifest_entry& first = found.failures.front();
        record.add_error(QStringLiteral("%1 files are not copied as they should be, the first of them %2: %3: %4")
                             .arg(QString::number(found.failure_count), manifest_text(first.path),
                                  QLatin1String(entry_status_name(first.status)), manifest_text(first.reason)));
    }
    if (found.surplus_count > 0) {
        record.add_error(QStringLiteral("%1 files lie among the copies and are none that counts, the first of them %2")
                             .arg(QString::number(found.surplus_count), manifest_text(found.surplus.front())));
    }
}

/// Takes note of the source's directories where they are looked at a moment before the end.
void verify_run(run_record& record, const run_options& options, run_plan& plan, const copies_of_run& copies)
try {
    verification_request request{record.source, plan.result, {}, options.users.isEmpty()};
    for (const user_record& user : record.users) {
        request.users.append(user.name);
    }
    request.without_reading = options.no_verify;
    request.seen = options.no_verify ? &plan.seen : nullptr;
    if (plan.settings.in_bulk) {
        request.expected = copies.amount();
    }
    request.known = options.read_twice ? nullptr : copies.whole();
    const verification_result found = verify_with_progress(request, options.quiet);
    for (const QString& problem : found.problems) {
        record.add_error(QStringLiteral("not all users could be looked at: ") + problem);
    }
    add_what_no_manifest_tells(found, !options.no_verify, record);
    if (!options.no_verify && !found.cancelled) {
        record.verification = found.summary;
    }
} catch (const failure& unwritten) {
    record.add_error(unwritten.message());
}

void add_errors(run_record& record, const QStringList& problems)
{
    for (const QString& problem : problems) {
        if (!problem.isEmpty() && !record.error.contains(problem)) {
            record.add_error(problem);
        }
    }
}

/// Begins to put the copies of all users on the disk, which the plug-in leaves to the program.
std::future<void> begin_flush(const run_plan& plan)
{
    if (!plan.settings.in_bulk || interruption::requested()) {
        return {};
    }
    return std::async(std::launch::async | std::launch::deferred, flush_file_system, plan.result.root());
}

/// Keeps what no copy holds, and begins to look for the messages; nothing after a cancel.
std::unique_ptr<account_notes> begin_notes(run_plan& plan, copies_of_run& copies, progress_style style,
                                           run_record& record)
{
    if (plan.settings.scheme != macos_scheme || interruption::requested()) {
        return nullptr;
    }
    folder_extents extents = keep_witnesses(plan, copies.known(), style, record);
    plan.seen = {};
    give_spare_memory_back();
    copies.complete(record);
    const QByteArray source = QFile::encodeName(plan.settings.source_root);
    return std::make_unique<account_notes>(
        mail_database_request{plan.settings.source_root, plan.settings.users, plan.result, copies.content_of(source),
                              copies.messages_in(source), std::move(extents), copies.messages()});
}

/// Runs the plug-in and takes stock. As soon as everything is copied, it is begun to be flushed, and what needs no
/// database is begun with. Returns the notes begun; nothing after a cancel.
std::unique_ptr<account_notes> extract_and_take_stock(const plugin_library& library, run_plan& plan,
                                                      copies_of_run& copies, progress_style style, run_record& record,
                                                      std::future<void>& flushing)
{
    const QDate begun = QDate::currentDate();
    std::unique_ptr<account_notes> notes;
    // The disk and the other cores have something to do while the plug-in looks for accounts.
    const auto go_on = [&] {
        if (!flushing.valid()) {
            flushing = begin_flush(plan);
        }
        notes = begin_notes(plan, copies, style, record);
    };
    const qint64 signalled_rows =
        extract(library, plan.settings, style, {[&copies](const copied_file& file) { copies.take(file); }, go_on});
    copies.tell(record);
    add_errors(record, QStringList(clear_left_scratch(plan.result)));
    if (!notes) {
        go_on();
    }
    take_stock(plan, begun, signalled_rows, copies, record);
    plan.seen = {}; // was before the run, and is a moment ago no more
    return interruption::requested() ? nullptr : std::move(notes);
}

/// Waits for the flush, and for what was written since: only what is on the disk can be read back from it.
void flush_copies(std::future<void>& begun, account_notes& notes, const run_plan& plan, run_record& record)
try {
    if (begun.valid()) {
        notes.show_until(begun);
        begun.get();
        flush_file_system(plan.result.root());
    }
} catch (const failure& unflushed) {
    record.add_error(unflushed.message());
}

/// Waits until it is known who the accounts are, and holds the plug-in's rows against that; what a store cannot say is
/// no error of the run, but is said.
void note_accounts(run_record& record, const run_plan& plan, account_notes& notes, const source_snapshot& at_first)
try {
    const extraction_settings& settings = plan.settings;
    const mail_database_outcome outcome = notes.outcome();
    add_errors(record, outcome.problems);
    record.remarks = outcome.remarks;
    if (!interruption::requested()) {
        add_errors(record, problems_of_rows({QFile::encodeName(settings.source_root), settings.users, settings.as_suite,
                                             at_first, outcome.stores, plan.files_of_accounts},
                                            plan.result));
    }
    // Copies of evidence that could not be removed a moment ago must not lie in a public place for ever.
    add_errors(record, remove_left_directories(QDir::tempPath()));
} catch (const failure& unread) {
    record.add_error(unread.message());
}

source_snapshot snapshot_of(const extraction_settings& settings, const directory_notes& seen)
{
    std::vector<QByteArray> users;
    for (const source_user& user : settings.users) {
        users.push_back(QFile::encodeName(user.name));
    }
    return {QFile::encodeName(settings.source_root), users, seen};
}

/// Returns what of the source could not be looked at, and what is not as it was at first.
QStringList changes_since(source_snapshot& at_first, const run_plan& plan)
{
    const QStringList unseen = at_first.problems();
    return unseen + at_first.changes_until_now(plan.seen);
}

int exit_code_of(const run_record& record, const QString& scheme)
{
    const bool verified_whole = !record.verification || record.verification->whole;
    if (record.log_failures > 0 || !verified_whole || !record.error.isEmpty()) {
        return exit_code::with_failures;
    }
    return scheme != macos_scheme ? exit_code::no_mail_directory : exit_code::whole;
}

void finish(run_journal& journal, const QString& scheme)
{
    if (interruption::requested()) {
        journal.finish(run_status::cancelled, exit_code::cancelled);
    } else {
        journal.finish(run_status::finished, exit_code_of(journal.record(), scheme));
    }
}

/// Seals the result of a run that came to its end, and writes the report. Returns the root hash; empty without a seal.
QString seal_and_report(run_journal& journal, const result_paths& result, const folder_amounts& amounts,
                        progress_style style)
{
    std::optional<result_seal> seal;
    interruption::wait_is_for(QStringLiteral("the seal"));
    if (journal.record().status == run_status::finished) {
        // What the seal speaks for is on the disk before the seal is.
        journal.publish([&] { flush_file_system(result.root()); });
        journal.publish([&] {
            progress shown(QStringLiteral("sealing"), sealed_amount(result), style);
            seal = seal_result(result, [&shown](file_amount done) { shown.update(done); });
        });
    }
    journal.publish([&] {
        const report_outcome report =
            write_report(result, result.path(product::report), amounts, seal ? &*seal : nullptr);
        if (!report.unread.isEmpty()) {
            refuse(QStringLiteral("the report lacks what could not be read: ") + report.unread.first());
        }
    });
    return seal ? QString::fromLatin1(digest_to_hex(seal->root)) : QString();
}

void print_outcome(const run_record& record, const QString& root_hash, bool as_json)
{
    if (as_json) {
        QJsonObject object = run_record_to_json(record);
        object.insert(QStringLiteral("root_hash"), root_hash.isEmpty() ? QJsonValue() : QJsonValue(root_hash));
        print_bytes(QJsonDocument(object).toJson());
    } else {
        print_run_summary(record, root_hash);
    }
    complain_about_run(record);
}

/// Writes the report of a run that was killed when it had only that left to do, and says how the run ended.
int finish_report(const run_plan& plan, bool as_json)
{
    const exclusive_lock lock(plan.result.path(product::lock));
    write_report(plan.result, plan.result.path(product::report));
    const std::optional<run_record> record = read_run_record(plan.result);
    const std::optional<result_seal> seal = read_seal(plan.result);
    if (!record || !record->exit_code || !seal) {
        refuse(QStringLiteral("%1: this run's record does not say how it ended").arg(plan.result.root()));
    }
    print_outcome(*record, QString::fromLatin1(digest_to_hex(seal->root)), as_json);
    return *record->exit_code;
}

} // namespace

int run_command(const run_options& options)
{
    // Beside what one core alone does until the source is walked. The path has a name, since one that is moved to a
    // thread is lost where none can be started.
    const QString program = QCoreApplication::applicationFilePath();
    std::future<QString> program_sha256 = std::async(std::launch::async | std::launch::deferred, hex_sha256, program);
    run_plan plan = prepare_run(options);
    if (plan.earlier == earlier_run::unreported) {
        return finish_report(plan, options.json);
    }
    const plugin_library library(options.plugin_file);
    const bool holds_mail = plan.settings.scheme == macos_scheme;
    if (holds_mail) {
        guard_run(plan, options.follow_links_outside);
    }
    source_snapshot at_first = snapshot_of(plan.settings, plan.seen);
    // Until here nothing is changed, and a signal ends the program at once.
    interruption::watch();
    const exclusive_lock lock = create_result(options, plan);

    run_journal journal(plan.result, begin_record(options, plan, library, program_sha256));
    journal.begin([&] { remove_earlier_results(options, plan); });
    copies_of_run copies(plan.result);
    const progress_style style = progress_style_for(options.quiet);
    std::future<void> flushing;
    const std::unique_ptr<account_notes> notes =
        extract_and_take_stock(library, plan, copies, style, journal.record(), flushing);
    if (notes) {
        // Not before: what is read under a memory limit of SQLite's, be it by the plug-in, is read alone, for the limit
        // holds for the whole process.
        notes->read_databases(style);
        flush_copies(flushing, *notes, plan, journal.record());
        verify_run(journal.record(), options, plan, copies);
    }
    // Beside the messages' rows, which are still being written by one core.
    add_errors(journal.record(), changes_since(at_first, plan));
    if (notes) {
        note_accounts(journal.record(), plan, *notes, at_first);
    }
    finish(journal, plan.settings.scheme);
    const QString root_hash = seal_and_report(journal, plan.result, copies.amounts_by_folder(), style);

    print_outcome(journal.record(), root_hash, options.json);
    return *journal.record().exit_code;
}
