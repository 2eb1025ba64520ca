// marl functions: what can be called in a scene.
#include <host/commands/command.h>

#include <host/functions/functions.h>
#include <host/output/output.h>
#include <host/report/did_you_mean.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>

namespace Marl::Host {

namespace {

std::vector<Function> selected(const std::vector<std::string>& names)
{
    const auto all = allFunctions();
    if (names.empty())
        return {all.begin(), all.end()};
    std::vector<Function> found;
    for (const std::string& name : names) {
        const Function* function = findFunction(name);
        if (!function) {
            std::vector<std::string_view> known;
            std::ranges::transform(all, std::back_inserter(known), &Function::name);
            const std::string hint = didYouMean(name, known);
            throw UsageError(fmt::format("there is no function `{}`{}{}", name, hint.empty() ? "" : ". ", hint));
        }
        found.push_back(*function);
    }
    return found;
}

int runFunctions(const std::vector<std::string>& names)
{
    const std::vector<Function> shown = selected(names);
    const auto widest = [&](auto&& text) {
        std::size_t width = 0;
        for (const Function& function : shown)
            width = std::max(width, text(function).size());
        return width;
    };
    const std::size_t calls = widest(std::mem_fn(&Function::callText)),
                      takes = widest(std::mem_fn(&Function::takesText)),
                      gives = widest(std::mem_fn(&Function::givesText));
    Output output;
    for (const Function& function : shown)
        output.write(fmt::format("{:{}}  {:{}} -> {:{}}  {}\n", function.callText(), calls, function.takesText(),
                                 takes, function.givesText(), gives, function.sentence));
    output.finish();
    return Fine;
}

constexpr const char* footer =
    R"(Shows each function with its arguments, the kinds that it takes and gives, and what it computes.

Examples:
  marl functions
  marl functions clamp mix)";

} // namespace

void addFunctionsCommand(CLI::App& app, int& status)
{
    CLI::App* command = app.add_subcommand("functions", "Show the functions that expressions can call");
    const auto names = std::make_shared<std::vector<std::string>>();
    command->add_option("NAME", *names, "Only these functions")->type_name("");
    command->footer(footer);
    command->callback([names, &status] { status = runFunctions(*names); });
}

} // namespace Marl::Host
