#include "host/run_preparation.h"

#include "host/command_failure.h"
#include "host/console.h"
#include "host/exit_codes.h"
#include "host/path_checks.h"
#include "host/result_database.h"
#include "host/system_version.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

[[noreturn]] void refuse(const QString& message)
{
    throw command_failure(exit_code::could_not_run, message);
}

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

/// Everything that a run writes to; each may be a link of its own.
void keep_out_of_source(const extraction_settings& settings)
{
    const QDir result(settings.result_directory);
    const QStringList written{settings.result_directory,
                              result.filePath(QStringLiteral("Artifacts_Result")),
                              result.filePath(QStringLiteral("Artifacts_Result/Apple_Mail_Extractor")),
                              result_database_path(settings.result_directory),
                              result.filePath(QStringLiteral("mail-extract")),
                              settings.log_path};
    for (const QString& path : written) {
        if (lies_inside(path, settings.source_root)) {
            refuse(QStringLiteral("cannot write to %1: it lies inside the source %2, which is only read")
                       .arg(path, settings.source_root));
        }
    }
}

QList<source_user> chosen_users(const run_options& options, const QString& source_root)
{
    const QList<source_user> known = list_source_users(source_root);
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
    const auto has_mail = [](const source_user& user) { return !user.mail_directory.isEmpty(); };
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

void set_aside(const QString& log_path)
{
    int number = 1;
    const auto numbered = [&] { return log_path + QLatin1Char('.') + QString::number(number); };
    while (QFileInfo::exists(numbered())) {
        ++number;
    }
    if (!QFile::rename(log_path, numbered())) {
        refuse(QStringLiteral("cannot set aside the log %1 as %2").arg(log_path, numbered()));
    }
    complain(QStringLiteral("the earlier log has the other form and is kept as %1").arg(numbered()));
}

} // namespace

run_plan prepare_run(const run_options& options)
{
    run_plan plan;
    extraction_settings& settings = plan.settings;
    settings.source_root = absolute_source(options.source);
    settings.result_directory = QDir::cleanPath(QFileInfo(options.result).absoluteFilePath());
    settings.log_path = options.log_file.isEmpty() ? settings.result_directory + QStringLiteral("/mail-extract/log.txt")
                                                   : QFileInfo(options.log_file).absoluteFilePath();
    keep_out_of_source(settings);

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

    if (!options.clear) {
        plan.last_row = last_account_row(settings.result_directory);
        if (plan.last_row > 0 && !options.append) {
            refuse(QStringLiteral("%1 already holds accounts: --clear removes them, --append adds to them")
                       .arg(result_database_path(settings.result_directory)));
        }
    }
    if (settings.scheme == macos_scheme) {
        check_mail(settings);
    }
    return plan;
}

void create_result(run_plan& plan)
{
    const extraction_settings& settings = plan.settings;
    const QString own_folder = settings.result_directory + QStringLiteral("/mail-extract");
    if (!QDir().mkpath(own_folder)) {
        refuse(QStringLiteral("cannot create %1: %2").arg(own_folder, reason_for_no_directory(own_folder)));
    }
    if (has_other_form(settings.log_path, settings.log_enciphered)) {
        set_aside(settings.log_path);
    }
    QFile log(settings.log_path);
    if (!log.open(QIODevice::WriteOnly | QIODevice::Append)) {
        refuse(QStringLiteral("cannot write the log %1: %2").arg(settings.log_path, log.errorString()));
    }
    plan.log_begin = log.size();
}
