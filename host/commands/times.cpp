#include <host/commands/times.h>

#include <host/commands/command.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cmath>
#include <limits>

namespace Marl::Host {

namespace {

constexpr double mostValues = 10'000'000;

double finiteOption(std::string_view option, std::string_view text)
{
    const double number = numberOption(option, text);
    if (!std::isfinite(number))
        throw UsageError(fmt::format("{}: a range has no end at {}", option, text));
    return number;
}

[[noreturn]] void failTooMany(double count, std::string_view what)
{
    throw UsageError(
        fmt::format("these would be {:.0f} {}; at most {:.0f} can be asked for", count, what, mostValues));
}

} // namespace

void addTimeOptions(CLI::App& command, TimeOptions& options)
{
    command.add_option("--time", options.time, "The time, 0 unless given")->type_name("TIME");
    command.add_option("--from", options.from, "The first of many times, in place of --time")->type_name("TIME");
    command.add_option("--to", options.to, "The last of them")->type_name("TIME");
    command.add_option("--step", options.step, "The way from one to the next")->type_name("TIME");
}

Times parseTimes(const TimeOptions& options)
{
    const bool hasRange = !options.from.empty() || !options.to.empty() || !options.step.empty();
    if (!hasRange)
        return {options.time.empty() ? 0.0 : numberOption("--time", options.time), 0, 1};
    if (!options.time.empty())
        throw UsageError("--time is one time and --from begins many; only one of them can be given");
    if (options.from.empty() || options.to.empty() || options.step.empty())
        throw UsageError("--from, --to and --step belong together");

    const double from = finiteOption("--from", options.from);
    const double to = finiteOption("--to", options.to);
    const double step = finiteOption("--step", options.step);
    if (step == 0)
        throw UsageError("--step: 0 leads nowhere");
    const double steps = (to - from) / step;
    if (steps < 0)
        throw UsageError(
            fmt::format("--step: {} does not lead from {} to {}", options.step, options.from, options.to));

    // Steps that miss the last time by no more than rounding meet it.
    constexpr double epsilon = std::numeric_limits<double>::epsilon();
    const double rounding = 4 * epsilon * (std::abs(from) + std::abs(to)) / std::abs(step);
    const double count = std::floor(steps + rounding) + 1;
    if (!(count <= mostValues))
        failTooMany(count, "times");
    return {from, step, static_cast<std::size_t>(count)};
}

void requireSensibleWork(const Times& times, std::size_t properties)
{
    const double values = static_cast<double>(times.count) * static_cast<double>(properties);
    if (values > mostValues)
        failTooMany(values, "values");
}

} // namespace Marl::Host
