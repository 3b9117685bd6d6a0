#include "host/case_tasks/status_command.h"

#include "host/case_tasks/status_text.h"
#include "host/cases/case_settings.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/terminal/interruption.h"

#include <QJsonDocument>
#include <QThread>

#include <cstdio>
#include <unistd.h>

namespace {

constexpr qsizetype width_of_table = 140;
constexpr int ms_between_drawings = 2000;
constexpr unsigned long ms_between_looks = 100;

void print_status(const case_overview& overview, bool as_json)
{
    if (as_json) {
        print_bytes(QJsonDocument(status_to_json(overview)).toJson());
        return;
    }
    for (const QString& line : status_lines(overview, width_of_table)) {
        print_line(line);
    }
}

} // namespace

int status_command(const status_options& options)
{
    const case_paths paths(options.directory);
    read_case(paths);
    if (options.watch) {
        interruption::watch();
    }
    for (;;) {
        const case_overview overview = look_at_case(paths);
        if (options.watch && !options.json && ::isatty(STDOUT_FILENO) == 1) {
            print_bytes("\x1b[H\x1b[2J");
        }
        print_status(overview, options.json);
        complain_about_not_added(paths, overview.not_added);
        std::fflush(stdout);
        if (!options.watch || overview.unfinished() == 0) {
            return exit_code_of(overview);
        }
        for (int waited = 0; waited < ms_between_drawings; waited += ms_between_looks) {
            if (interruption::requested()) {
                return exit_code_of(overview);
            }
            QThread::msleep(ms_between_looks);
        }
    }
}
