#pragma once

#include "host/survey/survey.h"

/// Returns the survey as a page of at most 100 columns, long lists cut with a count.
QString survey_text(const source_survey& survey);
