#include "host/verify/verification_progress.h"

#include "host/terminal/console.h"
#include "host/terminal/interruption.h"
#include "host/terminal/progress.h"
#include "host/verify/verification_text.h"

verification_result verify_with_progress(const verification_request& request, bool quiet)
{
    const progress_style style = progress_style_for(quiet);
    const bool is_counted = style == progress_style::silent || request.expected.files > 0;
    const bool all_are_known = request.known != nullptr && request.known->amount().files == request.expected.files;
    progress shown(all_are_known ? QStringLiteral("reading back") : QStringLiteral("verifying"),
                   is_counted ? request.expected : verification_amount(request, interruption::requested), style);
    const verification_result found = verify_copies(
        request,
        [&shown](qint64 files, qint64 bytes) {
            shown.update({files, bytes});
        },
        interruption::requested);
    shown.finish();
    for (const QString& line : quiet ? QStringList() : found.notes) {
        complain(line);
    }
    for (const QString& line : verification_complaints(found)) {
        complain(line);
    }
    return found;
}
