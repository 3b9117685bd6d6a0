#include "host/report/report_command.h"

#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/report/document.h"

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
