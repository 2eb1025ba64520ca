#include <host/commands/limit_options.h>

#include <CLI/CLI.hpp>

namespace Marl::Host {

void addLimitOptions(CLI::App& command, Limits& limits)
{
    command
        .add_option("--limit-steps", limits.steps,
                    "Give a value up after so many, 100,000,000 unless given; 0: no limit")
        ->type_name("COUNT");
    command
        .add_option("--limit-memory", limits.memory,
                    "Lists and texts that one value may need, 512 MB unless given; 0: no limit")
        ->transform(CLI::AsSizeValue(false))
        ->type_name("SIZE");
}

} // namespace Marl::Host
