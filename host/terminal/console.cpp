#include "host/terminal/console.h"

#include "host/text/display_text.h"
#include "host/text/text_layout.h"

#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

void write(std::FILE* stream, const QByteArray& bytes)
{
    // A failed write is noticed once, when the program ends.
    static_cast<void>(std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream));
}

} // namespace

void print_bytes(const QByteArray& bytes)
{
    write(stdout, bytes);
}

void print_line(const QString& line)
{
    write(stdout, line.toUtf8() + '\n');
}

qsizetype terminal_width()
{
    winsize size = {};
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : page_width;
}

void complain(const QString& message)
{
    write(stderr, "mail-extract: " + display_text(message).toUtf8() + '\n');
}
