#include "host/report_command.h"

#include "host/console.h"
#include "host/exit_codes.h"
#include "host/report.h"

int report_command(const report_options& options)
{
    const QString output = options.output.isEmpty() ? default_report_path(options.result) : options.output;
    QString error;
    if (!write_report(options.result, output, error)) {
        complain(error);
        return exit_code::could_not_run;
    }
    print_line(output);
    return exit_code::whole;
}
