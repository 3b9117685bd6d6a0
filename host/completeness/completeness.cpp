#include "host/completeness/completeness.h"

#include "host/completeness/store_check.h"
#include "host/files/file_tree.h"
#include "host/text/display_text.h"

#include <utility>

evidence_limits completeness_request::index_limits()
{
    evidence_limits limits;
    limits.largest_file = qint64(32) << 30;
    // A forged index of 100 MB has to be done with, and what it could tell written, in ten seconds.
    limits.milliseconds = 6'000;
    limits.also_alone = false;
    return limits;
}

completeness_check::completeness_check(completeness_request asked) : request(std::move(asked))
{
    const QByteArray mail = child_path(request.source, request.mail_directory);
    const QByteArray resolved = resolved_path(mail);
    leads_outside = !resolved.isEmpty() && !is_at_or_below(resolved, resolved_path(request.source));
    if (!leads_outside) {
        stores = stores_of(mail);
    }
}

completeness_check::~completeness_check() = default;

void completeness_check::begin()
{
    if (!stores.empty() && quiet_stat(stores.front().root).kind == entry_kind::directory) {
        first = std::make_unique<store_search>(stores.front(), request);
        first->begin();
    }
}

std::vector<store_completeness> completeness_check::complete(const QHash<QByteArray, QString>& settings,
                                                             completeness_sink& sink)
{
    if (leads_outside) {
        store_completeness outside;
        outside.user = request.user;
        outside.notes.append(display_text(request.mail_directory) +
                             QStringLiteral(": a link on the way leads out of the source, not followed"));
        return {outside};
    }
    std::vector<store_completeness> checked;
    for (const mail_store& store : stores) {
        const std::unique_ptr<store_search> search =
            first ? std::move(first) : std::make_unique<store_search>(store, request);
        checked.push_back(check_store(store, request, settings, *search, sink));
    }
    return checked;
}

std::vector<store_completeness> check_completeness(const completeness_request& request, completeness_sink& sink)
{
    return completeness_check(request).complete({}, sink);
}
