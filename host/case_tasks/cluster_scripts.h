#pragma once

#include "host/cases/case_paths.h"

#include <QList>
#include <QString>
#include <QStringList>

/// What is handed to a scheduler.
struct cluster_work
{
    case_paths paths;
    QList<int> indexes; ///< sorted
    int at_once = 8;
    bool retry = false; ///< sources with failures are done again
    QStringList mappings;
};

/// A file below CASE/cluster.
struct cluster_file
{
    QString name;
    QByteArray content;
    bool is_script = true;
};

/// Array tasks that one call of sbatch takes: their numbers are the indexes less `offset`.
struct array_block
{
    int offset = 0;
    QString tasks; ///< "1-4,7"
};

/// Returns a text as one word for a shell.
QString shell_word(const QString& text);

/// Returns numbers, sorted, as ranges: "1-4,7".
QString ranges_text(const QList<int>& numbers);

/// Divides indexes so that every task number lies below `array_limit`.
QList<array_block> array_blocks(const QList<int>& indexes, int array_limit);

/// Returns the files for an engine: "slurm", "parallel", "sge" or "kubernetes". Nothing in them is secret.
QList<cluster_file> cluster_files(const QString& engine, const cluster_work& work);

/// Returns the arguments of the call of sbatch that hands over a block, and those for the collector, which waits for
/// `after`, the jobs before it.
QStringList sbatch_arguments(const cluster_work& work, const array_block& block, const QString& after,
                             const QStringList& further);
QStringList sbatch_collector_arguments(const cluster_work& work, const QString& after, const QStringList& further);

/// Returns the lines that hand the files to an engine other than Slurm.
QStringList commands_for(const QString& engine, const cluster_work& work);
