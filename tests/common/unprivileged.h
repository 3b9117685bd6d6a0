#pragma once

#include <QString>

#include <functional>

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

/// Returns what makes a child process nobody in particular where the test runs as the superuser, whom no permission
/// stops. A child that cannot change ends with 126, one that may not start the program likewise has no exit code of
/// the program's own.
inline std::function<void()> as_nobody()
{
    return [] {
        if (::geteuid() == 0 && (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0)) {
            ::_exit(126);
        }
    };
}

/// Leaves of a path's permissions to such a child process only these: of 4 (read), 2 (write) and 1 (search).
inline void permit(const QString& path, unsigned bits)
{
    ::chmod(qPrintable(path), ::geteuid() == 0 ? 0700U | bits : bits << 6U);
}
