#include "host/files/exclusive_lock.h"

#include "host/text/failure.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>

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
