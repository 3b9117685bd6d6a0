#pragma once

#include "host/files/quiet_reading.h"

/// Tells of files, best of those of one directory after the other, whether this process may read them. Opens
/// directories alone, and resolves the way to each once.
class readable_files
{
public:
    /// True when this process may read the file at `path` (links followed) as far as permissions tell.
    bool has(const QByteArray& path);

private:
    QByteArray directory;
    file_descriptor descriptor;
};
