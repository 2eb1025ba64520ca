// The times that a command line asks for.
#pragma once

#include <host/output/track.h>

#include <string>

namespace CLI {
class App;
}

namespace Marl::Host {

struct TimeOptions {
    std::string time, from, to, step; // as given; empty where they are not
};

void addTimeOptions(CLI::App& command, TimeOptions& options);

// One time, 0 unless one is given, or from, from + step, ... up to and including `to` where the
// steps meet it but for rounding. Throws UsageError.
Times parseTimes(const TimeOptions& options);

// Throws UsageError for so many values that nobody can have meant it.
void requireSensibleWork(const Times& times, std::size_t properties);

} // namespace Marl::Host
