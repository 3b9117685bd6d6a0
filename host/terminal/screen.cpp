#include "host/terminal/screen.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

// A terminal that states less has told nonsense, and no layout fits it.
constexpr unsigned short narrowest_terminal = 20;

qsizetype columns_of(int descriptor, qsizetype otherwise)
{
    winsize size = {};
    const bool known = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col >= narrowest_terminal;
    return known ? size.ws_col : otherwise;
}

} // namespace

qsizetype screen_columns(qsizetype otherwise)
{
    return columns_of(STDOUT_FILENO, otherwise);
}

qsizetype message_columns(qsizetype otherwise)
{
    return columns_of(STDERR_FILENO, otherwise);
}
