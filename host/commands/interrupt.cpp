#include <host/commands/interrupt.h>

#include <atomic>

#include <signal.h>

namespace Marl::Host {

namespace {

std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal may come while the lock is held");

struct sigaction before = {}; // what Ctrl-C does where nobody watches

extern "C" void noteInterrupt(int)
{
    if (interrupted.exchange(true))
        sigaction(SIGINT, &before, nullptr);
}

} // namespace

InterruptWatch::InterruptWatch()
{
    interrupted = false;
    sigaction(SIGINT, nullptr, &before);
    if (before.sa_handler == SIG_IGN)
        return;
    struct sigaction action = {};
    action.sa_handler = noteInterrupt;
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
}

InterruptWatch::~InterruptWatch()
{
    sigaction(SIGINT, &before, nullptr);
}

bool InterruptWatch::isInterrupted()
{
    return interrupted;
}

} // namespace Marl::Host
