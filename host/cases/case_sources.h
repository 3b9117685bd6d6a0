#pragma once

#include "host/cases/case_paths.h"
#include "host/cases/source_fingerprint.h"
#include "host/cases/sources_csv.h"

#include <QList>
#include <QString>

/// A source of a case: what sources.csv says and where its results lie.
struct case_source
{
    int index = 0;
    QString evidence_number;
    QString source;            ///< as written in sources.csv
    QString directory;         ///< absolute, below "results"; empty when it is missing
    bool is_withdrawn = false; ///< its row was deleted from sources.csv

    /// Returns the index as it is shown and named: "0007".
    QString number() const { return source_directory_name(index, {}); }
    /// Returns the path of a file in the directory of its results.
    QString file(const QString& name) const { return directory + QLatin1Char('/') + name; }
};

/// The sources of a case, by index.
struct case_sources
{
    QList<case_source> sources;
    QList<source_row> not_added; ///< rows that have no index yet
};

/// Brings together sources.csv and the directories below "results". Throws a failure when either cannot be
/// read.
case_sources load_case_sources(const case_paths& paths);

/// What the case knows of a source from the time it was added, or first read.
struct registered_source
{
    QString evidence_number;
    QString source;
    QString path; ///< where this was then, absolute and without links; empty when it was not there
    QString time_utc;
    std::optional<source_fingerprint> identity; ///< nothing until the source could be read
};

/// Reads it from the directory of a source; throws a failure when it is missing or damaged.
registered_source read_registration(const QString& directory);

/// Returns the index of another source of the case that is the same, by its path or by what tells sources apart; 0
/// when there is none. Throws a failure.
int other_index_of(const case_paths& paths, int index, const registered_source& registration);

/// True for a path among the results of the case, or what was collected from them: it holds copies and is no source.
bool lies_in_results(const case_paths& paths, const QString& path);

/// Writes it; throws a failure.
void write_registration(const QString& directory, const registered_source& registration);
