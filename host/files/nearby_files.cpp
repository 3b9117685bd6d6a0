#include "host/files/nearby_files.h"

#include <climits>
#include <fcntl.h>
#include <unistd.h>

namespace {

#ifdef O_PATH
constexpr int place_flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
#else
constexpr int place_flags = O_SEARCH | O_DIRECTORY | O_CLOEXEC;
#endif

} // namespace

bool nearby_files::may_read(const QByteArray& path)
{
    const auto [from, name] = place_of(path);
    return ::faccessat(from, name.constData(), R_OK, AT_EACCESS) == 0;
}

entry_facts nearby_files::facts(const QByteArray& path)
{
    const auto [from, name] = place_of(path);
    return quiet_stat_at(from, name);
}

quiet_file nearby_files::open(const QByteArray& path, link_handling links)
{
    const auto [from, name] = place_of(path);
    return quiet_open_at(from, name, links);
}

nearby_files::place nearby_files::place_of(const QByteArray& path)
{
    const qsizetype slash = path.lastIndexOf('/');
    // Whatever the system says to a path that leads nowhere, or is too long for it, it says to the path as a whole.
    const place whole{AT_FDCWD, path};
    if (slash <= 0 || slash + 1 == path.size() || path.size() >= PATH_MAX) {
        return whole;
    }
    if (QByteArrayView(directory) != QByteArrayView(path).first(slash)) {
        directory = path.first(slash);
        descriptor = file_descriptor(::open(directory.constData(), place_flags));
    }
    return descriptor.is_open()
               ? place{descriptor.get(), QByteArray::fromRawData(path.constData() + slash + 1, path.size() - slash - 1)}
               : whole;
}
