#pragma once

#include "host/cases/case_overview.h"

#include <QJsonObject>
#include <QStringList>

/// Returns how a case stands as lines of a table and of totals, at most `width` columns wide where that can be.
QStringList status_lines(const case_overview& overview, qsizetype width);

/// Returns the same as an object {"sources": [...], "totals": {...}}.
QJsonObject status_to_json(const case_overview& overview);
