#pragma once

#include "host/cases/case_paths.h"
#include "host/cases/lease.h"
#include "host/result/run_record.h"

#include <QString>

/// What case.json holds.
struct case_settings
{
    case_data about; ///< goes into the record of every run, with the evidence number of its source
    lease_times lease;
    QString created_utc;
};

/// Makes a new case directory with an empty list of sources. Throws a failure when there is one already or when
/// the file system cannot do what cases rest on.
void create_case(const case_paths& paths, const case_settings& settings);

/// Reads case.json; throws a failure that names the path and the reason.
case_settings read_case(const case_paths& paths);

/// Throws a failure unless a file can be written in a directory, given a second name and found under a link.
void require_shared_files(const QString& directory);
