#include "host/run/preparation.h"

#include "host/files/quiet_reading.h"
#include "host/result/source_guard.h"
#include "host/run/case_file.h"
#include "host/run/continued_copies.h"
#include "host/run/earlier_results.h"
#include "host/run/user_choice.h"
#include "host/source/access_advice.h"
#include "host/source/source_hint.h"
#include "host/terminal/console.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>

namespace {

QString absolute_source(const QString& source)
{
    const QByteArray native = QFile::encodeName(source);
    const entry_facts facts = quiet_stat(native, link_handling::follow);
    if (facts.kind == entry_kind::absent) {
        refuse(QStringLiteral("cannot read the source %1: %2")
                   .arg(source, facts.error_number == ENOENT ? QStringLiteral("no such directory") : facts.error));
    }
    if (facts.kind != entry_kind::directory && facts.kind != entry_kind::unknown) {
        const QString hint = source_hint(native);
        refuse(QStringLiteral("cannot read the source %1: not a directory%2")
                   .arg(source, hint.isEmpty() ? QString() : QStringLiteral("; ") + hint));
    }
    if (const directory_listing listing = quiet_list(native); !listing.error.isEmpty()) {
        const QStringList advice = access_advice({listing.error_number});
        refuse(QStringLiteral("cannot read the source %1: %2")
                   .arg(source, (QStringList{listing.error} + advice).join(QStringLiteral("; "))));
    }
    const QString path = QDir::cleanPath(QFileInfo(source).absoluteFilePath());
    return path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/');
}

/// Takes the users and says on the screen whom `--user` leaves out: nobody may believe later that they were looked at.
QList<source_user> chosen_users(const run_options& options, run_plan& plan)
{
    user_choice choice = choose_users(options, plan.settings.source_root);
    if (!choice.passed_over.isEmpty()) {
        complain(QStringLiteral("left out by --user, of the users in the source: %1: %2")
                     .arg(display_number(choice.passed_over.size()), choice.passed_over.join(QStringLiteral(", "))));
    }
    plan.left_out = choice.shortcomings;
    plan.passed_over = choice.passed_over;
    return choice.users;
}

/// True for a log that holds something in the other form.
bool has_other_form(const QString& log_path, bool enciphered)
{
    QFile log(log_path);
    if (!log.open(QIODevice::ReadOnly) || log.size() == 0) {
        return false;
    }
    const bool is_plain = log.peek(1) == "[";
    return is_plain == enciphered;
}

void set_aside(const QString& log_path, bool quiet)
{
    int number = 1;
    const auto numbered = [&] { return log_path + QLatin1Char('.') + QString::number(number); };
    while (QFileInfo::exists(numbered())) {
        ++number;
    }
    if (!QFile::rename(log_path, numbered())) {
        refuse(QStringLiteral("cannot set aside the log %1 as %2").arg(log_path, numbered()));
    }
    if (!quiet) {
        complain(QStringLiteral("the earlier log has the other form and is kept as %1").arg(numbered()));
    }
}

/// Removes copies and log of earlier runs, saying so first.
void start_over(const run_options& options, run_plan& plan)
{
    const qint64 folders = count_earlier_copies(plan.result);
    if (folders + plan.log_begin > 0 && !options.quiet) {
        complain(QStringLiteral("removing what earlier runs left in %1: the accounts, the log, everything in %2, and "
                                "the folders of copies below %3: %4")
                     .arg(plan.result.root(), plan.result.products(), plan.result.copies(), display_number(folders)));
    }
    remove_earlier_copies(plan.result);
    const QString& log = plan.settings.log_path;
    if (!QFile::resize(log, 0)) {
        refuse(QStringLiteral("cannot empty the log %1").arg(log));
    }
    plan.log_begin = 0;
}

} // namespace

run_plan prepare_run(const run_options& options)
{
    run_plan plan{result_paths(options.result)};
    extraction_settings& settings = plan.settings;
    settings.source_root = absolute_source(options.source);
    settings.result_directory = plan.result.root();
    settings.log_path =
        options.log_file.isEmpty() ? plan.result.path(product::log) : QFileInfo(options.log_file).absoluteFilePath();
    keep_out_of_source(settings.source_root, plan.result, settings.log_path);
    refuse_planted_links(plan.result, settings.log_path);

    settings.source_type = options.source_type;
    settings.scheme = options.scheme;
    plan.identity = identify_source(QFile::encodeName(settings.source_root));
    settings.system_version = plan.identity.system_version;
    settings.source_number = options.source_number;
    settings.engine_type = options.engine_type;
    settings.as_suite = options.as_suite;
    settings.in_bulk = !options.as_suite && !options.one_by_one;
    // Without a manifest nothing takes them.
    settings.hashes = !options.no_verify;
    settings.log_enciphered = options.log_encrypted;
    const QString copies = plan.result.copies();
    if (options.clear && lies_inside(settings.source_root, copies)) {
        refuse(QStringLiteral("cannot clear %1: the source %2 lies inside it").arg(copies, settings.source_root));
    }
    plan.about = case_data_of(options);
    plan.earlier = look_at_earlier_run(plan.result, options, plan.identity);
    // The rows of a run that is gone on with are made anew, so that they are those of one run.
    settings.clear = plan.earlier != earlier_run::none;
    settings.users = chosen_users(options, plan);
    return plan;
}

exclusive_lock create_result(const run_options& options, run_plan& plan)
{
    const extraction_settings& settings = plan.settings;
    make_folder(plan.result.products());
    exclusive_lock lock(plan.result.path(product::lock));
    // Another run may have come and gone since the first look.
    plan.earlier = look_at_earlier_run(plan.result, options, plan.identity);
    if (plan.earlier == earlier_run::unreported) {
        refuse(QStringLiteral("cannot write to %1: another run came to its end there").arg(plan.result.root()));
    }
    if (plan.earlier != earlier_run::removed && has_other_form(settings.log_path, settings.log_enciphered)) {
        set_aside(settings.log_path, options.quiet);
    }
    QFile log(settings.log_path);
    if (!log.open(QIODevice::WriteOnly | QIODevice::Append)) {
        refuse(QStringLiteral("cannot write the log %1: %2").arg(settings.log_path, log.errorString()));
    }
    plan.log_begin = log.size();
    return lock;
}

void remove_earlier_results(const run_options& options, run_plan& plan)
{
    if (plan.earlier == earlier_run::none) {
        remove_stray_products(plan.result);
    } else {
        remove_earlier_products(plan.result);
    }
    remove_earlier_database(plan.result);
    empty_scratch(plan.result);
    if (plan.earlier == earlier_run::continued) {
        keep_whole_copies(plan);
    } else if (plan.earlier == earlier_run::removed) {
        start_over(options, plan);
    }
}
