#pragma once

#include "host/case_collection/collected_database.h"
#include "host/cases/case_settings.h"

/// What the report of a case is made of.
struct collected_case
{
    const case_paths& paths;
    const case_settings& data;
    const case_overview& overview;
    const QHash<int, QString>& problems; ///< by index: what kept the result of a source out
    const QStringList& warnings;
};

/// Writes the report of a whole case as one HTML file into a directory. Throws a failure.
void write_collected_report(const collected_case& collected, const collected_database& database,
                            const QString& directory);
