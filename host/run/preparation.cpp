#include "host/run/preparation.h"

#include "host/result/result_database.h"
#include "host/result/source_guard.h"
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

    settings.source_type = options.source_type;
    settings.scheme = options.scheme;
    settings.system_version = system_version(settings.source_root);
    settings.source_number = options.source_number;
    settings.engine_type = options.engine_type;
    settings.clear = options.clear;
    settings.as_suite = options.as_suite;
    settings.log_enciphered = options.log_encrypted;
    settings.users = chosen_users(options, settings.source_root);

    plan.left_out = without_unreachable(settings.users);

    const QString copies = plan.result.copies();
    if (options.clear && lies_inside(settings.source_root, copies)) {
        refuse(QStringLiteral("cannot clear %1: the source %2 lies inside it").arg(copies, settings.source_root));
    }
    if (!options.clear) {
        plan.last_row = last_account_row(plan.result);
        if (plan.last_row > 0 && !options.append) {
            refuse(QStringLiteral("%1 already holds accounts: --clear removes them, --append adds to them")
                       .arg(plan.result.database()));
        }
    }
    if (settings.scheme == macos_scheme) {
        check_mail(settings);
    }
    return plan;
}

void create_result(const run_options& options, run_plan& plan)
{
    const extraction_settings& settings = plan.settings;
    const QString own_folder = plan.result.products();
    if (!QDir().mkpath(own_folder)) {
        refuse(QStringLiteral("cannot create %1: %2").arg(own_folder, reason_for_no_directory(own_folder)));
    }
    if (has_other_form(settings.log_path, settings.log_enciphered)) {
        set_aside(settings.log_path, options.quiet);
    }
    QFile log(settings.log_path);
    if (!log.open(QIODevice::WriteOnly | QIODevice::Append)) {
        refuse(QStringLiteral("cannot write the log %1: %2").arg(settings.log_path, log.errorString()));
    }
    plan.log_begin = log.size();
}

void remove_earlier_results(const run_options& options, const run_plan& plan)
{
    remove_earlier_products(plan.result);
    if (!plan.settings.clear) {
        return;
    }
    const qint64 removed = remove_earlier_copies(plan.result);
    if (removed > 0 && !options.quiet) {
        complain(QStringLiteral("removed the copies of earlier runs, folders below %1: %2")
                     .arg(plan.result.copies(), display_number(removed)));
    }
}
