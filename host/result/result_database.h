#pragma once

#include "host/result/checked_database.h"
#include "host/result/result_paths.h"
#include "host/result/run_record.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <optional>

/// A result's database, opened for reading only. What an interrupted run left half written is rolled back in a copy, so
/// that a look at a result never changes it; of a sealed one the file that was sealed is read and nothing beside it.
class result_database
{
public:
    /// Throws a failure that names the path and the reason.
    explicit result_database(const result_paths& result);

    /// Runs a query over the table of accounts; throws a failure when it fails.
    checked_rows query(const QString& statement) const { return database->query(statement); }

private:
    [[noreturn]] void fail(const QString& reason) const;

    QString path;
    std::optional<QTemporaryDir> copies;
    std::optional<checked_database> database;
};

/// Returns what a database that no run is known to have left holds, as the end of a sentence; empty when it holds
/// nothing or is not there.
QString what_database_holds(const result_paths& result);

/// Returns what is wrong with the folders that rows name, a line each at most: of another day than the one that holds
/// the copies, or nowhere although the row tells of copies. The first of each kind is named, the others are counted.
QStringList problems_of_row_folders(const result_paths& result);

/// Counts the rows into the users they belong to, those of other users into none, and returns how many there are.
qint64 count_account_rows(const result_paths& result, QList<user_record>& users);
