#pragma once

#include "host/files/quiet_reading.h"

#include <QString>

/// Holds a directory against every other process that asks for it in the same way. The lock is the system's own and
/// ends with the process, however that ends; its file stays.
class exclusive_lock
{
public:
    /// Returns why nothing may be written into a directory, by its permissions or because its file system is mounted
    /// for reading only, and so no lock be taken there; empty when that is not in the way.
    static QString reason_against(const QString& directory);

    /// Takes the lock that `path` stands for; the file is created. Throws a failure when another process holds it, and
    /// when it cannot be taken.
    explicit exclusive_lock(const QString& path);

private:
    file_descriptor descriptor;
};
