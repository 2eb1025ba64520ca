// Large and deep trees on a small stack: neither compiling nor evaluating grows it with the tree.
#include <tests/support/compiled.h>
#include <tests/support/shown.h>
#include <tests/support/stack.h>
#include <tests/support/tree.h>
#include <tests/support/wrappings.h>

#include <marl/value/array_hold.h>

#include <gtest/gtest.h>

#include <concepts>
#include <functional>
#include <vector>

namespace Marl::Tests {
namespace {

// What compiled expressions come to at some times, compiled and evaluated on a small stack.
std::vector<Value> evaluatedThere(const Expressions& expressions, const Times& times)
{
    std::vector<Value> results;
    onAStackOf(256 * 1024, [&] {
        const CompiledExpressions compiled(expressions);
        BatchEvaluator evaluator(compiled);
        evaluator.evaluate(times);
        for (std::size_t e = 0; e < expressions.size(); ++e)
            for (std::size_t i = 0; i < times.size(); ++i)
                results.push_back(i % 2 == 0 ? evaluator.column(e).valueAt(i) : evaluator.valueAt(times[i], e));
    });
    return results;
}

// A list in lists in lists without its brackets, for to show those takes a stack too.
std::string bare(Value value)
{
    int lists = 0;
    for (; value.kind() == ValueType::List; ++lists) {
        const ArrayHold items(value.getList());
        value = items->count == 1 ? items[0] : Value();
    }
    return std::to_string(lists) + " " + shown(value);
}

TEST(SmallStack, TakesSumsOfManyNumbers)
{
    constexpr std::size_t many = 200'000;
    Tree t;
    ExpressionAST* const time = t.call(Builtin::Time);
    for (ExpressionAST* varying : Expressions{nullptr, time}) {
        Expressions balanced;
        for (std::size_t i = 0; i < many; ++i)
            balanced.push_back(varying ? varying : t.node(2));
        while (balanced.size() > 1) {
            Expressions sums;
            for (std::size_t i = 0; i + 1 < balanced.size(); i += 2)
                sums.push_back(t.sum(balanced[i], balanced[i + 1]));
            if (balanced.size() % 2 == 1)
                sums.push_back(balanced.back());
            balanced = sums;
        }
        ExpressionAST *left = t.sum(time, 1), *right = left;
        for (int i = 0; i < 9000; ++i) {
            left = t.sum(left, varying ? t.product(time, 0.1) : t.node(0.1));
            right = t.sum(varying ? t.product(time, 0.1) : t.node(0.1), right);
        }
        const Expressions expressions{balanced[0], left, right};
        const Times times{2, 3, -0.7};
        const std::vector<Value> results = evaluatedThere(expressions, times);
        for (std::size_t i = 0; i < results.size(); ++i)
            EXPECT_EQ(shown(results[i]), walked(expressions[i / 3], times[i % 3])) << i;
    }
}

TEST(SmallStack, TakesEveryKindOfNode)
{
    constexpr int deep = 9000;
    const Times times{0.5, 0.25}; // which truncate to an index that there is
    const auto expectTaken = [&](const Wrapping& wrapping) {
        Tree t;
        const Expressions expressions{nested(t, wrapping, deep, t.call(Builtin::Time)),
                                      nested(t, wrapping, deep, t.traced('x', 1)),
                                      nested(t, wrapping, deep, t.node(1))};
        const std::vector<Value> results = evaluatedThere(expressions, times);
        for (std::size_t i = 0; i < results.size(); ++i)
            EXPECT_EQ(bare(results[i]), bare(evaluated(expressions[i / 2], times[i % 2]))) << wrapping.name << i;
    };
    for (const Wrapping& wrapping : wrappings)
        expectTaken(wrapping);
    for (const Wrapping& wrapping : wrappingsOfTheEvaluator)
        expectTaken(wrapping);
}

TEST(SmallStack, TakesWhatIsNestedTooDeeply)
{
    Tree t;
    Expressions expressions;
    for (const Wrapping& wrapping : wrappings)
        expressions.push_back(nested(t, wrapping, 100'000, t.call(Builtin::Time)));
    NegatedExpressionAST* circle = t.negated(nullptr);
    circle->operand = circle;
    expressions.push_back(t.keys({{0, 1}, {1, circle}})); // at the early times it is not reached
    std::vector<std::string> results;
    onAStackOf(256 * 1024, [&] {
        const CompiledExpressions compiled(expressions);
        BatchEvaluator evaluator(compiled);
        evaluator.setDepthLimit(100);
        evaluator.evaluate(Times{0.5, -1});
        for (std::size_t e = 0; e < expressions.size(); ++e)
            results.push_back(resultOf(evaluator.column(e), 0) + ", " + resultOf(evaluator.column(e), 1));
    });
    for (std::size_t e = 0; e < expressions.size(); ++e) {
        const Settings settings{.depthLimit = 100};
        EXPECT_EQ(results[e], walked(expressions[e], 0.5, settings) + ", " + walked(expressions[e], -1, settings))
            << e;
    }
}

} // namespace
} // namespace Marl::Tests
