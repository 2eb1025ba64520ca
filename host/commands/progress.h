// How far a long piece of work is.
#pragma once

#include <chrono>
#include <cstddef>

namespace Marl::Host {

// One line on standard error that is written over and goes away in the end. It is shown only on a
// terminal, and only when the work takes longer than a second.
class Progress {
public:
    Progress();
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(std::size_t done, std::size_t all);

private:
    const bool isWatched;
    const std::chrono::steady_clock::time_point begin;
    bool isShown = false;
};

} // namespace Marl::Host
