#include "host/completeness/completeness.h"

#include "host/completeness/store_check.h"
#include "host/files/file_tree.h"
#include "host/text/display_text.h"

evidence_limits completeness_request::index_limits()
{
    evidence_limits limits;
    limits.largest_file = qint64(32) << 30;
    // A forged index of 100 MB has to be done with, and what it could tell written, in ten seconds.
    limits.milliseconds = 6'000;
    limits.also_alone = false;
    return limits;
}

std::vector<store_completeness> check_completeness(const completeness_request& request, completeness_sink& sink)
{
    const QByteArray mail = child_path(request.source, request.mail_directory);
    const QByteArray resolved = resolved_path(mail);
    if (!resolved.isEmpty() && !is_at_or_below(resolved, resolved_path(request.source))) {
        store_completeness outside;
        outside.user = request.user;
        outside.notes.append(display_text(request.mail_directory) +
                             QStringLiteral(": a link on the way leads out of the source, not followed"));
        return {outside};
    }
    std::vector<store_completeness> checked;
    for (const mail_store& store : stores_of(mail)) {
        checked.push_back(check_store(store, request, sink));
    }
    return checked;
}
