#pragma once

#include "host/survey/survey.h"

/// Walks a user's Mail directory and sorts its entries into the user's totals and the survey's findings.
void survey_mail_directory(source_survey& survey, user_survey& user, const QByteArray& mail_directory,
                           const directory_lister& list);

/// Notes a link that leads nowhere, or to where nobody may look.
void note_if_broken(source_survey& survey, const QByteArray& link);

/// Returns a path below the source relative to it, any other as it is.
QByteArray below_source(const QByteArray& source, const QByteArray& path);
