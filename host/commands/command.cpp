#include <host/commands/command.h>

#include <marl/ast/list_text.h>

#include <fmt/format.h>

#include <cmath>
#include <cstdio>

namespace Marl::Host {

double numberOption(std::string_view option, std::string_view text)
{
    double number = 0;
    if (const auto fault = readNumberText(text, number))
        throw UsageError(fmt::format("{}: `{}` is not {}", option, text, fault->expected));
    if (std::isnan(number))
        throw UsageError(fmt::format("{}: nan is no time", option));
    return number;
}

void requireOtherFile(const SceneFile& scene, const std::string& output)
{
    if (scene.isAt(output))
        throw UsageError(fmt::format("-o: {} is the scene itself, which would be lost", output));
}

void printError(std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stderr);
}

} // namespace Marl::Host
