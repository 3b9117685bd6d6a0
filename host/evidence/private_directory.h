#pragma once

#include "host/files/quiet_reading.h"

#include <QString>
#include <QStringList>

/// A fresh directory that nobody else may look into and that goes with this object. It is locked as long as the process
/// lives, so that what a killed one left can be told from what one at work has.
class private_directory
{
public:
    /// Makes the directory in `place` for a copy of `original`, as a person may read it. Throws an evidence_failure
    /// that names both.
    private_directory(const QString& place, const QString& original);
    ~private_directory();
    private_directory(const private_directory&) = delete;
    private_directory& operator=(const private_directory&) = delete;

    /// Returns its path.
    const QString& path() const { return own_path; }

private:
    QString own_path;
    file_descriptor lock;
};

/// Removes the directories of that kind that processes of this user left in `place` when they were killed. Returns a
/// line for each that could not be removed.
QStringList remove_left_directories(const QString& place);
