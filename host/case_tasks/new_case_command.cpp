#include "host/case_tasks/new_case_command.h"

#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"

int new_case_command(const new_case_options& options)
{
    const case_paths paths(options.directory);
    case_settings settings;
    settings.about = options.about;
    if (options.beat_seconds > 0) {
        settings.lease.beat_ms = static_cast<int>(options.beat_seconds * 1000);
    }
    if (options.missed_beats > 0) {
        settings.lease.missed_beats = options.missed_beats;
    }
    create_case(paths, settings);
    print_line(paths.root());
    return exit_code::whole;
}
