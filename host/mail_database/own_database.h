#pragma once

#include "host/result/checked_database.h"
#include "host/result/result_paths.h"

/// A result's own database, mail.sqlite, open for reading only.
class own_database
{
public:
    /// Throws a failure that names the path and the reason.
    explicit own_database(const result_paths& result);

    /// Runs a query; throws a failure when it fails.
    checked_rows query(const QString& statement) const { return database.query(statement); }

private:
    checked_database database;
};
