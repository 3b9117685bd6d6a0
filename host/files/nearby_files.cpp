#include "host/files/readable_files.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

#ifdef O_PATH
constexpr int place_flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
#else
constexpr int place_flags = O_SEARCH | O_DIRECTORY | O_CLOEXEC;
#endif

} // namespace

bool readable_files::has(const QByteArray& path)
{
    const qsizetype slash = path.lastIndexOf('/');
    const QByteArray parent = path.left(slash);
    if (parent != directory || !descriptor.is_open()) {
        directory = parent;
        descriptor = file_descriptor(::open(parent.constData(), place_flags));
    }
    if (slash <= 0 || !descriptor.is_open()) {
        return quiet_is_readable(path);
    }
    return ::faccessat(descriptor.get(), path.constData() + slash + 1, R_OK, AT_EACCESS) == 0;
}
