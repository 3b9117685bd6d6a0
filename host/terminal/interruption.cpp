#include "host/terminal/interruption.h"

#include "host/terminal/exit_codes.h"
#include "host/text/display_text.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstring>

#include <unistd.h>

namespace {

constexpr std::array signal_numbers = {SIGINT, SIGTERM, SIGHUP};

std::atomic<bool> signal_received = false;
std::atomic<bool> ends_at_once = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may not wait");

/// A line that the handler can print without asking anybody for memory.
struct ready_line
{
    std::array<char, 512> text = {};
    std::size_t size = 0;
};

// The handler prints the one that is not being written.
std::array<ready_line, 2> lines;
std::atomic<unsigned> current_line = 0;

void print(const char* text, std::size_t size)
{
    // Nobody is left to hear of a failed write.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text, size);
}

extern "C" void note_signal(int signal_number)
{
    if (signal_received.exchange(true)) {
        // Delivered when the handler returns: the process dies of it as any other would.
        std::signal(signal_number, SIG_DFL);
        std::raise(signal_number);
        return;
    }
    if (ends_at_once) {
        constexpr char text[] = "mail-extract: cancelled\n";
        print(text, sizeof text - 1);
        ::_exit(exit_code::cancelled);
    }
    const ready_line& line = lines[current_line % lines.size()];
    print(line.text.data(), line.size);
}

void take_over()
{
    struct sigaction action = {};
    action.sa_handler = note_signal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigset_t ours;
    sigemptyset(&ours);
    for (const int number : signal_numbers) {
        struct sigaction before = {};
        const bool stays_ignored =
            number == SIGHUP && ::sigaction(number, nullptr, &before) == 0 && before.sa_handler == SIG_IGN;
        if (!stays_ignored) {
            ::sigaction(number, &action, nullptr);
            sigaddset(&ours, number);
        }
    }
    // A caller may have blocked them.
    ::sigprocmask(SIG_UNBLOCK, &ours, nullptr);
}

} // namespace

void interruption::end_at_once()
{
    ends_at_once = true;
    take_over();
}

void interruption::watch()
{
    wait_is_for({});
    ends_at_once = false;
    take_over();
}

bool interruption::requested()
{
    return signal_received;
}

void interruption::wait_is_for(const QString& work)
{
    const unsigned next = current_line + 1;
    ready_line& line = lines[next % lines.size()];
    const QString waiting = work.isEmpty() ? QString() : QStringLiteral(", waiting for ") + display_text(work);
    // A bar may stand on the line, and the terminal shows ^C there.
    const QByteArray text =
        QStringLiteral("\nmail-extract: cancelling%1; once more ends at once\n").arg(waiting).toUtf8();
    line.size = std::min(line.text.size(), static_cast<std::size_t>(text.size()));
    std::memcpy(line.text.data(), text.constData(), line.size);
    current_line = next;
}
