#pragma once

#include "host/files/quiet_reading.h"

#include <QString>

/// Holds a directory against every other process that asks for it in the same way. The lock is the system's own and
/// ends with the process, however that ends; its file stays.
class exclusive_lock
{
public:
    /// Takes the lock that `path` stands for; the file is created. Throws a failure when another process holds it, and
    /// when it cannot be taken.
    explicit exclusive_lock(const QString& path);

private:
    file_descriptor descriptor;
};
