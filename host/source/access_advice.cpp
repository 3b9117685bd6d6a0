#include "host/source/access_advice.h"

#include <cerrno>

#include <unistd.h>

namespace {

QString permission_advice()
{
#ifdef Q_OS_MACOS
    return QStringLiteral("permission: run as root (sudo) from a terminal with Full Disk Access (System Settings, "
                          "Privacy & Security), or mount the volume with ownership ignored");
#else
    return ::geteuid() == 0
               ? QStringLiteral("permission: the mount refuses even root; mount it as root, with allow_other (FUSE) or "
                                "with ownership ignored")
               : QStringLiteral("permission: run as root (sudo), or mount the source with ownership ignored; on a Mac "
                                "the terminal needs Full Disk Access as well");
#endif
}

} // namespace

QStringList access_advice(const std::set<int>& error_numbers)
{
    QStringList advice;
    if (error_numbers.contains(EACCES) || error_numbers.contains(EPERM)) {
        advice += permission_advice();
    }
    if (error_numbers.contains(EIO)) {
        advice += QStringLiteral("read errors: work on an image of the medium, made by a program that retries and "
                                 "notes what it could not read");
    }
    if (error_numbers.contains(ESTALE) || error_numbers.contains(ENOTCONN) || error_numbers.contains(ENXIO) ||
        error_numbers.contains(ENODEV)) {
        advice += QStringLiteral("the mount is gone: mount the source again");
    }
    return advice;
}
