#pragma once

#include "host/case_collection/collected_database.h"

/// Writes each table of the case's database as <table>.csv into a directory, which exists. A text that a spreadsheet
/// would take for a formula gets a "'" before it. Throws a failure.
void write_collected_csv(const collected_database& database, const QString& directory);
