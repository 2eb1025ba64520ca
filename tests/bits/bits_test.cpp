// The same results from every compiler, optimisation level and instruction set: each row of
// table.txt is an expression, a time, and what an independent calculation gave. The same of the walk, and
// compiled, alone and in batches.
#include <host/analysis/evaluation.h>
#include <host/output/value_text.h>
#include <host/scene/scene.h>

#include <marl/compiled/batch_evaluator.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <concepts>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <span>
#include <sstream>
#include <unistd.h>
#include <vector>

namespace Marl::Host {
namespace {

std::string resultOf(const std::invocable auto& evaluate)
try {
    return valueText(evaluate());
} catch (const Exception& failure) {
    return std::string("fails: ") + failure.what();
}

// One expression as the reader makes it, resolved; none where its text has mistakes.
std::unique_ptr<Scene> sceneOf(const std::string& expression)
{
    const std::string path = std::filesystem::temp_directory_path() / fmt::format("bits.{}.scene", ::getpid());
    std::ofstream(path) << "scene 1;\nobject o {\np = " << expression << ";\n}\n";
    auto scene = std::make_unique<Scene>(path);
    std::filesystem::remove(path);
    if (!scene->reading.mistakes.empty() || !resolve(*scene).mistakes.empty())
        return nullptr;
    return scene;
}

// The time at all places but every third, so that its neighbors differ; at the last one always.
std::vector<double> amongOthers(double time, std::size_t size)
{
    constexpr double others[] = {0, -7.25, std::numeric_limits<double>::quiet_NaN(), 1e300, 2.5};
    std::vector<double> times(size, time);
    for (std::size_t i = (size + 1) % 3; i + 1 < size; i += 3)
        times[i] = others[i % std::size(others)];
    return times;
}

// A block's length, which is one of these, and its neighbors.
constexpr std::size_t sizes[] = {1, 2, 15, 16, 17, 31, 32, 33, 63, 64, 65, 127, 128, 129, 255, 256, 257, 1000};

// Why the row does not hold, or nothing.
std::string complaintAbout(const std::string& expression, double time, const std::string& result)
{
    const auto scene = sceneOf(expression);
    if (!scene)
        return "not a scene";
    const SceneProperty& property = scene->properties.at(0);
    if (const std::string text = resultOf([&] { return evaluate(property, {.time = time}); }); text != result)
        return "the walk gives " + text;

    ExpressionAST* const root = property.property->expression;
    const CompiledExpressions compiled(std::span(&root, 1));
    BatchEvaluator evaluator(compiled);
    if (const std::string text = resultOf([&] { return evaluator.valueAt(time, 0); }); text != result)
        return "compiled, alone it gives " + text;
    for (const std::size_t size : sizes) {
        const std::vector<double> times = amongOthers(time, size);
        evaluator.evaluate(times);
        for (std::size_t i = 0; i < size; ++i) {
            if (times[i] != time && !(std::isnan(times[i]) && std::isnan(time)))
                continue;
            const std::string text = resultOf([&] { return evaluator.column(0).valueAt(i); });
            if (text != result)
                return fmt::format("compiled, place {} of {} gives {}", i, size, text);
        }
    }
    return "";
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
        EXPECT_EQ(complaintAbout(expression, time, result), "") << expression << " at " << at << " is " << result;
        ++rows;
    }
    EXPECT_GT(rows, 300);
}

} // namespace
} // namespace Marl::Host
