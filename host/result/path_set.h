#pragma once

#include "host/files/hashing.h"

#include <QByteArray>

#include <array>
#include <vector>

/// A set of paths that may be millions. It keeps 16 bytes of each one's SHA-256, which two paths share less often than
/// any memory fails.
class path_set
{
public:
    /// Adds a path.
    void add(const QByteArray& path);
    /// Makes the set ready to be asked; to be called after the last path is added.
    void complete();
    /// True for a path that was added.
    bool contains(const QByteArray& path);

private:
    using key = std::array<unsigned char, 16>;
    key key_of(const QByteArray& path);

    file_hasher hasher;
    std::vector<key> keys;
    bool is_sorted = false;
};
