#include "host/survey/survey_command.h"

#include "host/source/source_hint.h"
#include "host/survey/survey.h"
#include "host/survey/survey_json.h"
#include "host/survey/survey_text.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <QFile>

namespace {

void complain_without_mail(const QString& source, const QByteArray& native)
{
    complain(QStringLiteral("no Mail directory found below %1").arg(source));
    if (const QString hint = source_hint(native); !hint.isEmpty()) {
        complain(hint);
    }
}

} // namespace

int survey_command(const survey_options& options)
{
    const QByteArray source = QFile::encodeName(options.source);
    const source_survey survey = survey_source(source, options.result);
    if (!survey.error.isEmpty()) {
        const QString hint = source_hint(source);
        refuse(QStringLiteral("cannot survey %1: %2%3")
                   .arg(options.source, survey.error, hint.isEmpty() ? QString() : QStringLiteral("; ") + hint));
    }
    if (options.json) {
        print_bytes(survey_json(survey));
    } else {
        print_line(survey_text(survey));
    }
    if (!survey.is_whole()) {
        const survey_finding& first = survey.unreadable.front();
        const auto further = qint64(survey.unreadable.size()) - 1;
        complain(QStringLiteral("could not be looked at, or is damaged: %1: %2%3")
                     .arg(display_text(first.path), first.reason,
                          further == 0 ? QString() : QStringLiteral(", and %1 more").arg(display_number(further))));
        return exit_code::with_failures;
    }
    if (survey.has_mail()) {
        return exit_code::whole;
    }
    complain_without_mail(options.source, source);
    return exit_code::no_mail_directory;
}
