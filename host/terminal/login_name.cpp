#include "host/terminal/login_name.h"

#include <pwd.h>
#include <unistd.h>

QString login_name()
{
    const passwd* entry = ::getpwuid(::getuid());
    return entry != nullptr ? QString::fromLocal8Bit(entry->pw_name) : QString::number(::getuid());
}
