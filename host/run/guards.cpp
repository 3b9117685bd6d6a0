#include "host/run/guards.h"

#include "host/files/tree_lister.h"
#include "host/run/earlier_results.h"
#include "host/source/room_estimate.h"
#include "host/terminal/console.h"
#include "host/text/display_text.h"
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

/// Account folders that lie in each other are copied once for each that they lie in: of a few hundred that comes to
/// more than any disk takes in a day.
void refuse_folders_in_each_other(const copy_forecast& forecast, copying_way way, const QString& source)
{
    constexpr qint64 most_times = 20;
    constexpr qint64 no_trouble = 10'000; // copies
    if (way == copying_way::in_bulk) {
        return;
    }
    for (std::size_t i = 0; i < forecast.trees.size(); ++i) {
        const qint64 copies = forecast.scratch_copies[i].files;
        const qint64 files = forecast.trees[i].files;
        if (copies > no_trouble && copies / most_times > files) {
            refuse(QStringLiteral("%1: account folders lie in each other, so that one by one %2 files would be copied "
                                  "%3 times; the ordinary way, without --one-by-one and --as-suite, counts them "
                                  "instead")
                       .arg(source, display_number(files), display_number(copies)));
        }
    }
}

/// What is not seen now may be seen by the plug-in, and be lost between the two.
void name_unread(const std::vector<blocked_look>& unread, run_plan& plan)
{
    constexpr std::size_t most_named = 5;
    std::size_t count = 0;
    for (const blocked_look& look : unread) {
        const QString below = display_text(look.path.mid(QFile::encodeName(plan.settings.source_root).size()));
        if (!below.isEmpty() && plan.left_out.contains(below)) {
            continue;
        }
        if (++count <= most_named) {
            plan.left_out += (plan.left_out.isEmpty() ? QString() : QStringLiteral("; ")) +
                             QStringLiteral("could not be looked at: ") + look.text();
        }
    }
    if (count > most_named) {
        plan.left_out += QStringLiteral(" and %1 more").arg(count - most_named);
    }
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
    const std::vector<QByteArray> mail_directories = mail_directories_of(source, names);
    tree_lister lister(mail_directories);
    plan.seen = directory_notes(mail_directories);
    copy_forecast forecast = forecast_copies(source, mail_directories, [&](const QByteArray& path) {
        directory_listing listing = lister.next(path);
        plan.seen.add(path, listing);
        return listing;
    });
    if (forecast.link_problems.empty()) {
        for (std::size_t i = 0; i < names.size(); ++i) {
            settings.users[static_cast<qsizetype>(i)].expected_copies =
                settings.in_bulk ? forecast.trees[i] : forecast.copies[i];
        }
    } else if (!follow_links_outside) {
        refuse_links(forecast, settings.source_root);
    }
    plan.files_of_accounts = std::move(forecast.files_of_accounts);
    name_unread(forecast.unread, plan);

    const copying_way way = settings.in_bulk    ? copying_way::in_bulk
                            : settings.as_suite ? copying_way::as_suite
                                                : copying_way::one_by_one;
    refuse_folders_in_each_other(forecast, way, settings.source_root);
    copy_walk::amount earlier = earlier_amount(plan.result, settings);
    earlier.room = settings.clear ? earlier.room : std::min(earlier.room, forecast.room_of_trees);
    const room_estimate room = estimate_room(forecast, plan.result.root(), way, earlier);
    if (!room.is_enough()) {
        refuse(QStringLiteral("cannot write to %1: not enough room at %2: %3")
                   .arg(plan.result.root(), room.measured_at, room_amounts(room)));
    }
}
