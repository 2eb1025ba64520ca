// The same results from every compiler, optimisation level and instruction set: each row of
// table.txt is an expression, a time, and what an independent calculation gave.
#include <host/analysis/evaluation.h>
#include <host/output/value_text.h>
#include <host/scene/scene.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace Marl::Host {
namespace {

std::string resultOf(const std::string& expression, double time)
try {
    const std::string path = std::filesystem::temp_directory_path() / fmt::format("bits.{}.scene", ::getpid());
    std::ofstream(path) << "scene 1;\nobject o {\np = " << expression << ";\n}\n";
    Scene scene(path);
    std::filesystem::remove(path);
    if (!scene.reading.mistakes.empty() || !resolve(scene).mistakes.empty())
        return "not a scene";
    return valueText(evaluate(scene.properties.at(0), {.time = time}));
} catch (const Exception& failure) {
    return std::string("fails: ") + failure.what();
}

TEST(Bits, EveryExpressionGivesTheBitsOfTheTable)
{
    std::ifstream file(MARL_SOURCE_DIR "/tests/bits/table.txt");
    int rows = 0;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with('#'))
            continue;
        std::istringstream fields(line);
        std::string expression, at, result;
        std::getline(std::getline(std::getline(fields, expression, '\t'), at, '\t'), result);
        double time = 0;
        std::from_chars(at.data(), at.data() + at.size(), time);
        EXPECT_EQ(resultOf(expression, time), result) << expression << " at " << at;
        ++rows;
    }
    EXPECT_GT(rows, 300);
}

} // namespace
} // namespace Marl::Host
