#include "host/result/path_set.h"

#include <algorithm>

void path_set::add(const QByteArray& path)
{
    keys.push_back(key_of(path));
    is_sorted = false;
}

void path_set::complete()
{
    if (!is_sorted) {
        std::sort(keys.begin(), keys.end());
        is_sorted = true;
    }
}

bool path_set::contains(const QByteArray& path)
{
    return std::binary_search(keys.begin(), keys.end(), key_of(path));
}

path_set::key path_set::key_of(const QByteArray& path)
{
    const sha256_digest digest = hasher.hash(path);
    key short_digest{};
    std::copy_n(digest.begin(), short_digest.size(), short_digest.begin());
    return short_digest;
}
