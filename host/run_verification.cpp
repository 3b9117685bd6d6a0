#include "host/run_verification.h"

#include "host/console.h"
#include "host/interruption.h"
#include "host/progress.h"
#include "host/verification.h"

void verify_run(run_record& record, bool quiet)
{
    verification_request request{record.source, record.result, {}};
    for (const user_record& user : record.users) {
        request.users.append(user.name);
    }
    progress shown(QStringLiteral("verifying"), verification_amount(request, interruption::requested),
                   progress_style_for(quiet));
    const verification_result found = verify_copies(
        request,
        [&shown](qint64 files, qint64 bytes) {
            shown.update({files, bytes});
        },
        interruption::requested);
    shown.finish();

    for (const QString& line : verification_complaints(found)) {
        complain(line);
    }
    if (!found.error.isEmpty()) {
        record.error = found.error;
    }
    if (!found.cancelled && found.error.isEmpty()) {
        record.verification = found.summary;
    }
}
