#include "host/verify/verify_command.h"

#include "host/result/source_guard.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/terminal/interruption.h"
#include "host/text/failure.h"
#include "host/verify/verification_progress.h"
#include "host/verify/verification_text.h"

#include <QFileInfo>
#include <QJsonArray>

namespace {

/// Asks for the users that the result's last run was to extract, and says so when it did not come to its end.
verification_request request_for(const QString& source, const result_paths& result)
{
    verification_request request{source, result, {}};
    std::optional<run_record> record;
    try {
        record = read_run_record(result);
    } catch (const failure& unreadable) {
        complain(unreadable.message());
    }
    if (!record) {
        return request;
    }
    if (record->status != run_status::finished) {
        complain(QStringLiteral("%1: the run did not come to its end (\"%2\")")
                     .arg(result.path(product::run_record), run_status_name(record->status)));
    }
    for (const user_record& user : record->users) {
        request.users += user.name;
    }
    request.unnamed_users = record->options.value(QLatin1String("users")).toArray().isEmpty();
    return request;
}

} // namespace

int verify_command(const verify_options& options)
{
    for (const QString& directory : {options.source, options.result}) {
        if (!QFileInfo(directory).isDir()) {
            refuse(QStringLiteral("cannot verify %1: not a directory").arg(directory));
        }
    }
    const result_paths result(options.result);
    keep_out_of_source(options.source, result);
    interruption::watch();
    const verification_result found = verify_with_progress(request_for(options.source, result), options.quiet);
    if (found.cancelled) {
        complain(QStringLiteral("%1: cancelled; the manifest is not written").arg(options.result));
        return exit_code::cancelled;
    }
    if (found.users == 0) {
        complain(QStringLiteral("%1: the source has no Mail directory of which %2 holds a copy")
                     .arg(options.source, options.result));
        return exit_code::no_mail_directory;
    }
    print_line(verification_summary_text(found.summary));
    print_line(result.path(product::manifest));
    return found.summary.whole ? exit_code::whole : exit_code::with_failures;
}
