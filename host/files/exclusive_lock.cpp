#include "host/files/exclusive_lock.h"

#include "host/text/failure.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

QString exclusive_lock::reason_against(const QString& directory)
{
    const bool may_write =
        ::faccessat(AT_FDCWD, QFile::encodeName(directory).constData(), W_OK | X_OK, AT_EACCESS) == 0;
    const bool is_refused = !may_write && (errno == EROFS || errno == EACCES || errno == EPERM);
    return is_refused ? QStringLiteral("%1: %2").arg(directory, system_error_text(errno)) : QString();
}

exclusive_lock::exclusive_lock(const QString& path)
    : descriptor(
          ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666))
{
    if (!descriptor.is_open()) {
        refuse(QStringLiteral("cannot take the lock %1: %2").arg(path, system_error_text(errno)));
    }
    if (::flock(descriptor.get(), LOCK_EX | LOCK_NB) == 0) {
        return;
    }
    if (errno == EWOULDBLOCK) {
        refuse(QStringLiteral("%1: another mail-extract is at work on this result").arg(path));
    }
    refuse(QStringLiteral("cannot take the lock %1: %2").arg(path, system_error_text(errno)));
}
