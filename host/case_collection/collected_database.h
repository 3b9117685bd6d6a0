#pragma once

#include "host/case_collection/copied_result.h"
#include "host/case_collection/row_places.h"
#include "host/cases/case_overview.h"

#include <QHash>
#include <QSet>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>

/// The database of a whole case: the tables of all results under their names, each row with the index of its source.
/// Written at a place of its own on a local disk, since SQLite does not keep its word on every network file system.
class collected_database
{
public:
    /// Makes it in a directory; throws a failure.
    explicit collected_database(const QString& directory);
    ~collected_database();
    Q_DISABLE_COPY_MOVE(collected_database)

    QString path() const;

    /// Adds the rows of a result; all of them or none. Returns what kept them out, one line; empty when nothing did.
    QString add_result(const copied_result& result);
    /// Writes the table of sources, what is found on several of them, and the indexes. Throws a failure.
    void finish(const case_overview& overview, const QHash<int, QString>& problems);

    /// Returns, by the index of the source, what of the rows taken names no folder of its result, or not the right one.
    const QHash<int, misplaced_rows>& misplaced() const { return misplaced_by_source; }

    /// Returns the names of all tables, sorted.
    QStringList tables() const;
    /// Runs a statement; throws a failure.
    QSqlQuery query(const QString& statement) const;

private:
    void add_part(int source_index, const database_part& part);
    void require_accounts() const;
    void note_misplaced(int source_index, const result_paths& result);
    /// Makes a place for the rows of a table that was made by a statement; returns the columns to fill, quoted.
    QString columns_for(const QString& schema, const QString& table, const QString& made_by, const QString& target);
    /// Gives the target every column of a table; returns these, quoted.
    QStringList fit_columns(const QString& schema, const QString& table, const QString& target);
    void write_sources(const case_overview& overview, const QHash<int, QString>& problems);

    QString directory;
    QSqlDatabase database;
    QHash<QString, QSet<QString>> columns_of;    ///< names in lower case, by that of the table
    QHash<QStringList, QString> columns_to_fill; ///< what columns_for() returned, by its texts
    QHash<int, misplaced_rows> misplaced_by_source;
};
