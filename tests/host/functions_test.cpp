// The host's functions: what holds for all of them, and what the mathematics promises. Their bits are in
// tests/bits/table.txt.
#include <tests/host/scratch.h>

#include <host/analysis/evaluation.h>
#include <host/analysis/resolution.h>
#include <host/functions/functions.h>
#include <host/functions/rules.h>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cmath>

namespace Marl::Host {

namespace {

// With arguments that vary with time.
std::string callOf(const Function& function)
{
    std::string arguments;
    for (const ValueType kind : function.form.kinds.front().takes)
        arguments += fmt::format("{}{}", arguments.empty() ? "" : ", ",
                                 kind == ValueType::Double ? "time" : "vec(1, time, 2)");
    return fmt::format("{}({})", function.name, arguments);
}

TEST(Functions, HaveNamesOfTheirOwnAndRowsInTheTableOfBits)
{
    const std::string table = contentOf(MARL_SOURCE_DIR "/tests/bits/table.txt");
    for (const Function& function : allFunctions()) {
        EXPECT_EQ(findFunction(function.name), &function) << function.name;
        EXPECT_THAT(table, testing::HasSubstr(fmt::format("\n{}(", function.name)));
        EXPECT_THAT(std::string(function.sentence), testing::EndsWith(".")) << function.name;
    }
}

TEST(Functions, GiveTheKindThatTheySay)
{
    for (const Function& function : allFunctions()) {
        const bool mayFail = function.name == "inverse";
        const std::string call = mayFail ? "inverse(scale(vec(1, time, 2)))" : callOf(function);
        TextScene text(inObject(fmt::format("p = {};", call)));
        EXPECT_TRUE(resolve(text.scene).mistakes.empty()) << call;
        ExpressionAST* const expression = text.scene.properties.at(0).property->expression;
        const CompiledExpressions compiled(std::span(&expression, 1));
        EXPECT_TRUE(compiled.variesWithTime(0)) << call;
        BatchEvaluator evaluator(compiled);
        evaluator.evaluate(std::vector<double>{0.25, 0.5, 1});
        EXPECT_EQ(evaluator.column(0).kind(), function.form.kinds.front().gives) << call;
    }
}

float distance(const Vector& a, const Vector& b)
{
    return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}

Vector times(const Matrix& m, const Vector& v)
{
    const auto& [a, b, c] = m.columns;
    return {a.x * v.x + b.x * v.y + c.x * v.z, a.y * v.x + b.y * v.y + c.y * v.z, a.z * v.x + b.z * v.y + c.z * v.z};
}

TEST(Functions, TurnAboutAnAxisAndBack)
{
    for (const TracePoint& axis : {TracePoint{1, 2, 3}, {-0.1, 0, 0.7}, {0, 0, -5}, {1e-300, 1e-300, 0}})
        for (const double angle : {-7.0, -1.5, 0.0, 0.3, 1.6, 3.1, 100.0}) {
            const Matrix turn = rotation(axis, angle), back = rotation(axis, -angle), undone = inverse(turn);
            const TracePoint unit = normalized(axis);
            const Vector along{static_cast<float>(unit.x), static_cast<float>(unit.y), static_cast<float>(unit.z)};
            EXPECT_LT(distance(times(turn, along), along), 1e-6F) << angle;
            for (int i = 0; i < 3; ++i) {
                EXPECT_LT(distance(back.columns[i], undone.columns[i]), 1e-6F) << angle;
                EXPECT_LT(distance(times(undone, turn.columns[i]), Matrix(1).columns[i]), 1e-6F) << angle;
            }
            const float trace = turn.columns[0].x + turn.columns[1].y + turn.columns[2].z;
            EXPECT_NEAR(trace, 1 + 2 * std::cos(angle), 1e-6);
        }
}

// Also far away, where a single has no digits for the place.
TEST(Functions, BringAPointBackFromWhereATransformMovedIt)
{
    TextScene text(inObject("p = inverse(.t) * (.t * vec(0.1, -4, 7));"
                            "t = xform(mat(vec(2, 0.5, 0), vec(-0.25, 3, 1), vec(0, 1, -1.5)),"
                            "          vec(time, -2 * time, time / 3));"));
    EXPECT_TRUE(resolve(text.scene).mistakes.empty());
    for (const double far : {0.0, 1.0, 1e6, 1e9}) {
        const TracePoint back = evaluate(text.scene.properties.at(0), {.time = far}).getTracePoint();
        EXPECT_NEAR(back.x, 0.1, 2e-6 + far * 1e-15) << far;
        EXPECT_NEAR(back.y, -4, 2e-6 + far * 1e-15) << far;
        EXPECT_NEAR(back.z, 7, 2e-6 + far * 1e-15) << far;
    }
}

} // namespace

} // namespace Marl::Host
