#include "host/mail_database/completeness_command.h"

#include "host/mail_database/completeness_text.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"

int completeness_command(const completeness_options& options)
{
    const completeness_certificate certificate = read_completeness(result_paths(options.result));
    if (options.format == QLatin1String("json")) {
        print_bytes(completeness_json(certificate));
    } else if (options.format == QLatin1String("csv")) {
        print_bytes(completeness_csv(certificate, options.raw).join());
    } else {
        for (const QString& line : completeness_table(certificate, terminal_width())) {
            print_line(line);
        }
    }
    for (const QString& remark : completeness_remarks(certificate)) {
        complain(remark);
    }
    return certificate.closes ? exit_code::whole : exit_code::with_failures;
}
