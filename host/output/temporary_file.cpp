#include <host/output/temporary_file.h>

#include <array>
#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace Marl::Host {

namespace {

// A signal may come at any moment, on any thread; so nothing that its handler needs is ever freed.
std::array<char, PATH_MAX> name = {};
std::atomic<bool> exists = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal may come while the lock is held");

extern "C" void removeAndEnd(int number)
{
    if (exists)
        unlink(name.data());
    signal(number, SIG_DFL);
    raise(number); // waits for the end of this function
}

// All that end a program unless it does something about them, but for those of a fault in it.
constexpr int endings[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGTERM,   SIGALRM, SIGUSR1, SIGUSR2,
                           SIGXCPU, SIGXFSZ, SIGPROF, SIGVTALRM, SIGPOLL, SIGPWR};

} // namespace

void removeTemporaryFileOnSignals()
{
    for (const int number : endings) {
        struct sigaction action = {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler == SIG_IGN)
            continue;
        action = {};
        action.sa_handler = removeAndEnd;
        sigaction(number, &action, nullptr);
    }
}

// No signal may come between the file and the note that there is one.
TemporaryFile::TemporaryFile(const std::string& path)
{
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::string pattern = path + ".XXXXXX";
    handle = mkostemp(pattern.data(), O_CLOEXEC);
    if (handle >= 0) {
        std::memcpy(name.data(), pattern.c_str(), pattern.size() + 1); // longer ones cannot be opened
        exists = true;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TemporaryFile::~TemporaryFile()
{
    if (exists)
        unlink(name.data());
    exists = false;
}

bool TemporaryFile::moveTo(const std::string& path)
{
    const bool moved = rename(name.data(), path.c_str()) == 0;
    exists = !moved;
    return moved;
}

} // namespace Marl::Host
