#include "host/report/report_command.h"

#include "host/report/document.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"

int report_command(const report_options& options)
{
    const result_paths result(options.result);
    const QString output = options.output.isEmpty() ? result.path(product::report) : options.output;
    const report_outcome outcome = write_report(result, output);
    print_line(output);
    for (const QString& objection : outcome.objections) {
        complain(objection);
    }
    return outcome.objections.isEmpty() ? exit_code::whole : exit_code::with_failures;
}
