#include <host/commands/progress.h>

#include <host/commands/command.h>

#include <fmt/format.h>

#include <unistd.h>

namespace Marl::Host {

namespace {

constexpr const char* clearLine = "\r\x1b[K";

}

Progress::Progress() : isWatched(isatty(2)), begin(std::chrono::steady_clock::now()) {}

Progress::~Progress()
{
    if (isShown)
        printError(clearLine);
}

void Progress::show(std::size_t done, std::size_t all)
{
    using std::chrono_literals::operator""s;
    if (!isWatched || std::chrono::steady_clock::now() - begin < 1s)
        return;
    printError(fmt::format("{}marl: {} of {} times, {} %", clearLine, done, all, 100 * done / all));
    isShown = true;
}

} // namespace Marl::Host
