#include "host/survey/survey_command.h"

#include "host/survey/survey.h"
#include "host/survey/survey_json.h"
#include "host/survey/survey_text.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"

#include <QFile>

#include <algorithm>

int survey_command(const survey_options& options)
{
    const source_survey survey = survey_source(QFile::encodeName(options.source), options.result);
    if (!survey.error.isEmpty()) {
        complain(QStringLiteral("cannot survey %1: %2").arg(options.source, survey.error));
        return exit_code::could_not_run;
    }
    if (options.json) {
        print_bytes(survey_json(survey));
    } else {
        print_line(survey_text(survey));
    }
    const bool has_mail = std::any_of(survey.users.begin(), survey.users.end(),
                                      [](const user_survey& user) { return user.has_mail_directory; });
    if (has_mail) {
        return exit_code::whole;
    }
    complain(QStringLiteral("no Mail directory found below %1").arg(options.source));
    return exit_code::no_mail_directory;
}
