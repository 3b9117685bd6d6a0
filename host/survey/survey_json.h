#pragma once

#include "host/survey/survey.h"

/// Returns the whole survey as one JSON object, indented; names in the form of display_text.
QByteArray survey_json(const source_survey& survey);
