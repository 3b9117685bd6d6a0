#include "host/verify/recheck_progress.h"

#include "host/terminal/interruption.h"
#include "host/terminal/progress.h"

recheck_outcome recheck_with_progress(const recheck_request& request, const finding_listener& found, bool quiet)
{
    const progress_style style = progress_style_for(quiet);
    progress shown(QStringLiteral("verifying"),
                   style == progress_style::silent ? file_amount() : recheck_amount(request, interruption::requested),
                   style);
    const auto show = [&shown](qint64 files, qint64 bytes) { shown.update({files, bytes}); };
    return recheck(request, {found, show, interruption::requested});
}
