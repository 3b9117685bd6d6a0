#include "host/run_guards.h"

#include "host/command_failure.h"
#include "host/console.h"
#include "host/exit_codes.h"
#include "host/link_guard.h"
#include "host/room_guard.h"

#include <QFile>

void guard_run(const extraction_settings& settings, bool follow_links_outside)
{
    const QByteArray source = QFile::encodeName(settings.source_root);
    std::vector<QByteArray> mail_directories;
    for (const source_user& user : settings.users) {
        // Also where none is seen: the link that hides it is what is looked for.
        mail_directories.push_back(QFile::encodeName(settings.source_root + QStringLiteral("Users/") + user.name +
                                                     QStringLiteral("/Library/Mail")));
    }

    if (!follow_links_outside) {
        const std::vector<link_problem> problems = find_link_problems(source, mail_directories);
        for (const link_problem& problem : problems) {
            complain(link_problem_text(problem));
        }
        if (!problems.empty()) {
            throw command_failure(exit_code::could_not_run,
                                  QStringLiteral("%1: nothing is copied because of these links; "
                                                 "--follow-links-outside runs in spite of them")
                                      .arg(settings.source_root));
        }
    }
    const room_estimate room = estimate_room(source, mail_directories, settings.result_directory);
    if (!room.is_enough()) {
        throw command_failure(exit_code::could_not_run,
                              QStringLiteral("cannot write to %1: %2").arg(settings.result_directory, room_text(room)));
    }
}
