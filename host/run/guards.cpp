#include "host/run/guards.h"

#include "host/run/earlier_results.h"
#include "host/source/room_estimate.h"
#include "host/terminal/console.h"
#include "host/text/failure.h"

#include <QFile>

#include <algorithm>

namespace {

void refuse_links(const copy_forecast& forecast, const QString& source)
{
    for (const link_problem& problem : forecast.link_problems) {
        complain(link_problem_text(problem));
    }
    refuse(QStringLiteral("%1: nothing is copied because of these links; --follow-links-outside runs in spite of them")
               .arg(source));
}

} // namespace

void guard_run(run_plan& plan, bool follow_links_outside)
{
    extraction_settings& settings = plan.settings;
    std::vector<QByteArray> names;
    for (const source_user& user : settings.users) {
        // Also where no Mail directory is seen: the link that hides it is what is looked for.
        names.push_back(QFile::encodeName(user.name));
    }
    const QByteArray source = QFile::encodeName(settings.source_root);
    copy_forecast forecast = forecast_copies(source, mail_directories_of(source, names));
    if (forecast.link_problems.empty()) {
        for (std::size_t i = 0; i < names.size(); ++i) {
            settings.users[static_cast<qsizetype>(i)].expected_copies =
                settings.in_bulk ? forecast.trees[i] : forecast.copies[i];
        }
    } else if (!follow_links_outside) {
        refuse_links(forecast, settings.source_root);
    }

    if (settings.in_bulk) {
        // Account folders are counted then, not copied.
        forecast.room_of_accounts = 0;
    }
    const qint64 earlier = bytes_of_earlier_copies(plan.result, settings);
    const room_estimate room = estimate_room(forecast, plan.result.root(),
                                             settings.clear ? earlier : std::min(earlier, forecast.room_of_trees));
    if (!room.is_enough()) {
        refuse(QStringLiteral("cannot write to %1: not enough room at %2: %3")
                   .arg(plan.result.root(), room.measured_at, room_amounts(room)));
    }
}
