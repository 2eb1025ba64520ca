#include <host/commands/interrupt.h>

#include <atomic>

#include <signal.h>

namespace Marl::Host {

namespace {

std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal may come while the lock is held");

extern "C" void noteInterrupt(int)
{
    if (interrupted.exchange(true))
        signal(SIGINT, SIG_DFL);
}

} // namespace

InterruptWatch::InterruptWatch()
{
    interrupted = false;
    struct sigaction action = {};
    sigaction(SIGINT, nullptr, &action);
    if (action.sa_handler == SIG_IGN)
        return;
    action.sa_handler = noteInterrupt;
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
}

InterruptWatch::~InterruptWatch()
{
    struct sigaction action = {};
    sigaction(SIGINT, nullptr, &action);
    if (action.sa_handler == noteInterrupt)
        signal(SIGINT, SIG_DFL);
}

bool InterruptWatch::isInterrupted()
{
    return interrupted;
}

} // namespace Marl::Host
