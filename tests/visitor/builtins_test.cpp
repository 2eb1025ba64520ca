// The built-in functions; what they come to is in tests/bits/table.txt.
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

namespace Marl::Tests {
namespace {

TEST(Builtins, TakeTheSampleOfTheirNode)
{
    Tree t;
    const std::pair<ExpressionAST*, const char*> rows[] = {
        {t.call(Builtin::Sample, {}, 0.1f), "0.10000000149011612"},
        {t.call(Builtin::Uniform, {2, 4}, 0.25f), "2.5"},
        {t.call(Builtin::Uniform, {0.1, 1e300}, 0), "0.1"},
        {t.call(Builtin::Uniform, {0.3, 1.1}, 0.9f), "1.019999980926514"}, // weighs both
        {t.call(Builtin::Uniform, {2, HUGE_VAL}, 0), "nan"},
    };
    for (const auto& [call, result] : rows)
        EXPECT_EQ(resultOf(call), result);
}

TEST(Builtins, EvaluateAsManyArgumentsAsTheyTake)
{
    const struct {
        int function;
        const char* trail;
    } rows[] = {{1, ""},  {2, ""},    {3, ""},    {4, "a"},   {5, "a"}, {6, "a"}, {7, "a"}, {8, "a"},
                {9, "a"}, {10, "ab"}, {11, "ab"}, {12, "ab"}, {0, ""},  {13, ""}, {-1, ""}, {2147483647, ""}};
    for (const auto& [function, trail] : rows)
        for (const int argCount : {0, 3}) {
            Tree t;
            auto* call = t.call(Builtin(function), {t.traced('a', 1), t.traced('b', 2), t.traced('c', 3)});
            call->argCount = argCount;
            const std::string result = resultOf(call);
            EXPECT_EQ(t.trail, trail) << function;
            EXPECT_EQ(result == "undefined", function < 1 || function > 12) << function;
        }
    CalculationVisitor evaluator;
    Tree().node(5)->accept(&evaluator);
    evaluator.visitBuiltinFunction(nullptr);
    EXPECT_EQ(shown(evaluator.getResult()), "5");
}

} // namespace
} // namespace Marl::Tests
