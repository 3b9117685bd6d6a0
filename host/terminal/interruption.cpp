#include "host/terminal/interruption.h"

#include <atomic>
#include <csignal>

namespace {

std::atomic<bool> signal_received = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may not wait");

extern "C" void note_signal(int /*signal_number*/)
{
    signal_received = true;
}

} // namespace

void interruption::watch()
{
    struct sigaction action = {};
    action.sa_handler = note_signal;
    sigemptyset(&action.sa_mask);
    // The handler serves once: a second Ctrl-C then does what it does to any program.
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool interruption::requested()
{
    return signal_received;
}
