#pragma once

#include <QString>
#include <QStringList>

/// What `case submit` is asked to do.
struct submit_options
{
    QString directory;
    QString engine = QStringLiteral("slurm"); ///< or "parallel", "sge", "kubernetes"
    int at_once = 8;
    bool retry = false; ///< only what failed, has failures, was lost or cancelled
    bool go = false;    ///< hand it over now
    QStringList mappings;
    QStringList engine_options; ///< for sbatch, as they are
};

/// Writes what a scheduler needs to CASE/cluster, prints what hands it over and, when asked to, does that; returns the
/// exit code. Throws a failure.
int submit_command(const submit_options& options);
