#include "host/run/preparation.h"

#include "host/result/source_guard.h"
#include "host/run/case_file.h"
#include "host/run/continued_copies.h"
#include "host/run/earlier_results.h"
#include "host/source/system_version.h"
#include "host/terminal/command_failure.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/text/display_text.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

QString absolute_source(const QString& source)
{
    const QFileInfo info(source);
    if (!info.exists()) {
        refuse(QStringLiteral("cannot read the source %1: no such directory").arg(source));
    }
    if (!info.isDir()) {
        refuse(QStringLiteral("cannot read the source %1: not a directory").arg(source));
    }
    if (!info.isReadable() || !info.isExecutable()) {
        refuse(QStringLiteral("cannot read the source %1: permission denied").arg(source));
    }
    const QString path = QDir::cleanPath(info.absoluteFilePath());
    return path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/');
}

QList<source_user> chosen_users(const run_options& options, const QString& source_root)
{
    const QList<source_user> known = list_source_users(QFile::encodeName(source_root));
    if (options.users.isEmpty()) {
        return known;
    }
    for (const QString& name : options.users) {
        if (std::none_of(known.begin(), known.end(), [&name](const source_user& user) { return user.name == name; })) {
            refuse(QStringLiteral("no user %1: %2Users has no such directory").arg(name, source_root));
        }
    }
    QList<source_user> chosen = known;
    erase_if(chosen, [&options](const source_user& user) { return !options.users.contains(user.name); });
    return chosen;
}

/// Removes the users that the plug-in cannot be told of, and returns a line that names them.
QString without_unreachable(QList<source_user>& users)
{
    QStringList names;
    for (const source_user& user : users) {
        if (!user.is_reachable) {
            names.append(user.name);
        }
    }
    erase_if(users, [](const source_user& user) { return !user.is_reachable; });
    return names.isEmpty() ? QString()
                           : QStringLiteral("left out, because their names are not UTF-8: the users ") +
                                 names.join(QStringLiteral(", "));
}

void check_mail(const extraction_settings& settings)
{
    const auto has_mail = [](const source_user& user) { return user.has_mail_directory; };
    if (std::none_of(settings.users.begin(), settings.users.end(), has_mail)) {
        throw command_failure(exit_code::no_mail_directory,
                              QStringLiteral("no Mail directory found below %1Users: no user has a Library/Mail")
                                  .arg(settings.source_root));
    }
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
    settings.system_version = system_version(settings.source_root);
    settings.source_number = options.source_number;
    settings.engine_type = options.engine_type;
    settings.as_suite = options.as_suite;
    settings.log_enciphered = options.log_encrypted;
    settings.users = chosen_users(options, settings.source_root);

    plan.left_out = without_unreachable(settings.users);

    const QString copies = plan.result.copies();
    if (options.clear && lies_inside(settings.source_root, copies)) {
        refuse(QStringLiteral("cannot clear %1: the source %2 lies inside it").arg(copies, settings.source_root));
    }
    plan.about = case_data_of(options);
    plan.identity = identify_source(QFile::encodeName(settings.source_root));
    plan.earlier = look_at_earlier_run(plan.result, options, plan.identity);
    // The rows of a run that is gone on with are made anew, so that they are those of one run.
    settings.clear = plan.earlier != earlier_run::none;
    if (settings.scheme == macos_scheme) {
        check_mail(settings);
    }
    return plan;
}

exclusive_lock create_result(const run_options& options, run_plan& plan)
{
    const extraction_settings& settings = plan.settings;
    make_folder(plan.result.products());
    exclusive_lock lock(plan.result.path(product::lock));
    // Another run may have come and gone since the first look.
    plan.earlier = look_at_earlier_run(plan.result, options, plan.identity);
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
    empty_scratch(plan.result);
    if (plan.earlier == earlier_run::continued) {
        keep_whole_copies(plan);
    } else if (plan.earlier == earlier_run::removed) {
        start_over(options, plan);
    }
}
