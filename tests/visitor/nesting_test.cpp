// Deep trees: they evaluate on a stack of 8 MiB or fail with a message, and are freed all the same.
#include <tests/support/shown.h>
#include <tests/support/stack.h>
#include <tests/support/tree.h>
#include <tests/support/wrappings.h>

#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>

#include <gtest/gtest.h>

namespace Marl::Tests {
namespace {

constexpr int deepest = 10'000;
constexpr const char* tooDeep = "Expression is nested too deeply.";

template <typename AnyVisitor>
void expectTakesUpToTheLimit(const Wrapping& wrapping)
{
    Tree t;
    // A host's node, of which nothing is known beforehand.
    ExpressionAST* node = nested(t, wrapping, deepest, t.traced('x', 1));
    AnyVisitor visitor;
    EXPECT_EQ(messageOf([&] { node->accept(&visitor); }), "no failure") << wrapping.name;
    EXPECT_EQ(t.trail, "x") << wrapping.name;
    EXPECT_EQ(messageOf([&] { wrapping.around(t, node)->accept(&visitor); }), tooDeep) << wrapping.name;
    EXPECT_EQ(messageOf([&] { node->accept(&visitor); }), "no failure") << wrapping.name << ", after the failure";
}

TEST(Nesting, EveryKindOfNodeEvaluatesUpToTheLimit)
{
    for (const Wrapping& wrapping : wrappings)
        expectTakesUpToTheLimit<CalculationVisitor>(wrapping);
    for (const Wrapping& wrapping : wrappingsOfTheEvaluator)
        expectTakesUpToTheLimit<CalculationVisitor>(wrapping);
}

TEST(Nesting, EveryKindOfNodeIsResolvedUpToTheLimit)
{
    for (const Wrapping& wrapping : wrappings)
        expectTakesUpToTheLimit<DecorationVisitor>(wrapping);
}

TEST(Nesting, TheLimitCountsLevelsAndCanBeChanged)
{
    Tree t;
    ExpressionAST* mixed =
        t.list({t.negated(t.reference(t.property(t.call(Builtin::Sqr, {t.keys({{t.traced('t', 0), 3}})}))))});
    for (const auto& [limit, result] : {std::pair(5, "[-9]"), std::pair(4, tooDeep), std::pair(0, tooDeep)}) {
        CalculationVisitor evaluator;
        evaluator.setDepthLimit(limit);
        const std::string failure = messageOf([&] { mixed->accept(&evaluator); });
        EXPECT_EQ(failure == tooDeep ? failure : shown(evaluator.getResult()), result) << limit;
        t.node(5)->accept(&evaluator); // a leaf is no level
        EXPECT_EQ(shown(evaluator.getResult()), "5");
    }
}

TEST(Nesting, ConstantTimesCountTheirLevelsToo)
{
    for (const bool isResolved : {false, true}) {
        Tree t;
        ExpressionAST* time = t.node(1);
        for (int i = 0; i < 50; ++i)
            time = i % 3 == 0 ? t.negated(time)
                : i % 3 == 1  ? static_cast<ExpressionAST*>(t.reference(t.property(time)))
                              : t.difference(0, time);
        auto* node = t.keys({{0, 10}, {time, 20}});
        if (isResolved)
            node->sortKeys();
        EXPECT_EQ(node->constantTimes().times.empty(), !isResolved);
        CalculationVisitor evaluator;
        evaluator.setDepthLimit(50);
        EXPECT_EQ(messageOf([&] { node->accept(&evaluator); }), tooDeep);
        evaluator.setDepthLimit(51);
        EXPECT_EQ(messageOf([&] { node->accept(&evaluator); }), "no failure");
    }
}

TEST(Nesting, BeyondAllLimitsIsAFailureOfBothVisitors)
{
    Tree t;
    ExpressionAST* deep = t.node(1);
    for (int i = 0; i < 3'000'000; ++i) {
        auto* negated = t.program.make<NegatedExpressionAST>();
        negated->operand = deep;
        deep = negated;
    }
    NegatedExpressionAST* circle = t.negated(nullptr);
    circle->operand = circle;
    auto* listCircle = t.list({nullptr});
    listCircle->firstItem->expression = t.element(t.list({listCircle}), {0});
    for (ExpressionAST* node : {deep, static_cast<ExpressionAST*>(circle), static_cast<ExpressionAST*>(listCircle)}) {
        CalculationVisitor evaluator;
        DecorationVisitor pass;
        EXPECT_EQ(messageOf([&] { node->accept(&evaluator); }), tooDeep);
        EXPECT_EQ(messageOf([&] { node->accept(&pass); }), tooDeep);
    }
}

// However many references lie in one another, another one costs the same; else this takes minutes.
TEST(Nesting, ManyReferencesInOneAnotherAreNoBurden)
{
    constexpr int many = 100'000;
    Tree t;
    PropertyAST* const last = t.property(t.traced('x', 5));
    PropertyAST* first = last;
    for (int i = 1; i < many; ++i)
        first = t.property(t.reference(first));
    onAStackOf(512 * 1024 * 1024, [&] {
        CalculationVisitor evaluator;
        evaluator.setDepthLimit(many + 10);
        for (int round = 0; round < 2; ++round) {
            first->expression->accept(&evaluator);
            EXPECT_EQ(shown(evaluator.getResult()), "5");
        }
        last->expression = t.reference(first);
        EXPECT_EQ(messageOf([&] { first->expression->accept(&evaluator); }), "Property references form a cycle.");
        EXPECT_EQ(messageOf([&] { first->expression->accept(&evaluator); }), "Property references form a cycle.");
    });
    EXPECT_EQ(t.trail, "xx");
}

} // namespace
} // namespace Marl::Tests
