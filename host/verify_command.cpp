#include "host/verify_command.h"

#include "host/console.h"
#include "host/exit_codes.h"
#include "host/interruption.h"
#include "host/progress.h"
#include "host/source_tree.h"
#include "host/verification.h"

#include <QDir>
#include <QFile>

namespace {

/// Returns why the two directories cannot be compared; empty when they can.
QString refusal(const verify_options& options)
{
    for (const QString& directory : {options.source, options.result})
        if (!QFileInfo(directory).isDir())
            return directory + QStringLiteral(": this is no directory");
    // Manifest and copies are written to.
    if (lies_within(resolved_path(QFile::encodeName(options.result)), resolved_path(QFile::encodeName(options.source))))
        return options.result + QStringLiteral(": the result lies inside the source, which must not be written to");
    return {};
}

/// Returns the users that the result's last run was to extract, and says so when it did not come to its end.
QStringList users_of_last_run(const QString& result)
{
    QString error;
    const std::optional<run_record> record = read_run_record(result, error);
    if (!error.isEmpty())
        complain(error);
    if (!record)
        return {};
    if (record->status != QLatin1String("finished"))
        complain(QStringLiteral("%1: the run did not come to its end (\"%2\")")
                     .arg(run_record_path(result), record->status));
    QStringList users;
    for (const user_record& user : record->users)
        users += user.name;
    return users;
}

} // namespace

int verify_command(const verify_options& options)
{
    if (const QString reason = refusal(options); !reason.isEmpty()) {
        complain(reason);
        return exit_code::could_not_run;
    }
    interruption::watch();
    const verification_request request{options.source, options.result, users_of_last_run(options.result)};
    progress shown(QStringLiteral("verifying"), verification_amount(request, interruption::requested),
                   progress_style_for(options.quiet));
    const verification_result found = verify_copies(
        request,
        [&](qint64 files, qint64 bytes) {
            shown.update({files, bytes});
        },
        interruption::requested);
    shown.finish();

    for (const QString& line : verification_complaints(found))
        complain(line);
    if (found.cancelled) {
        complain(QStringLiteral("%1: cancelled; the manifest is not written").arg(options.result));
        return exit_code::cancelled;
    }
    if (!found.error.isEmpty()) {
        complain(found.error);
        return exit_code::could_not_run;
    }
    if (found.users == 0) {
        complain(QStringLiteral("%1: the source has no Mail directory of which %2 holds a copy")
                     .arg(options.source, options.result));
        return exit_code::no_mail_directory;
    }
    print_line(verification_summary_text(found.summary));
    print_line(QDir(options.result).filePath(QStringLiteral("mail-extract/manifest.csv")));
    return found.summary.whole ? exit_code::whole : exit_code::with_failures;
}
