// The limits that a command line sets.
#pragma once

#include <host/analysis/limits.h>

namespace CLI {
class App;
}

namespace Marl::Host {

void addLimitOptions(CLI::App& command, Limits& limits);

} // namespace Marl::Host
