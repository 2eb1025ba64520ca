// Deep trees: they evaluate on a stack of 8 MiB or fail with a message, and are freed all the same.
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>

#include <gtest/gtest.h>

#include <functional>

namespace Marl::Tests {
namespace {

constexpr int deepest = 10'000;
constexpr const char* tooDeep = "Expression is nested too deeply.";

using Inner = ExpressionAST*;

// One more level around a node, in every way that one node can lie in another.
struct Wrapping {
    const char* name;
    std::function<ExpressionAST*(Tree&, Inner)> around;
};

// clang-format off
const Wrapping wrappings[] = {
    {"left operand", [](Tree& t, Inner inner) { return t.product(inner, 1); }},
    {"right operand", [](Tree& t, Inner inner) { return t.product(1, inner); }},
    {"negated", [](Tree& t, Inner inner) { return t.negated(inner); }},
    {"list item", [](Tree& t, Inner inner) { return t.list({inner}); }},
    {"vector component", [](Tree& t, Inner inner) { return t.vec(1, inner, 1); }},
    {"column", [](Tree& t, Inner inner) { return t.mat(1, 1, inner); }},
    {"offset", [](Tree& t, Inner inner) { return t.xform(1, inner); }},
    {"only value", [](Tree& t, Inner inner) { return t.keys({{0, inner}}); }},
    {"earlier value", [](Tree& t, Inner inner) { return t.keys({{-1, inner}, {1, 1}}); }},
    {"later value", [](Tree& t, Inner inner) { return t.keys({{-1, 1}, {1, inner}}); }},
    {"time", [](Tree& t, Inner inner) { return t.keys({{inner, 1}}); }},
    {"argument", [](Tree& t, Inner inner) { return t.call(Builtin::Sqr, {inner}); }},
    {"second argument", [](Tree& t, Inner inner) { return t.call(Builtin::Pow, {1, inner}); }},
    {"index", [](Tree& t, Inner inner) { return t.element(listOf({0, 0}), {inner}); }},
    {"target", [](Tree& t, Inner inner) { return t.element(inner, {}); }},
};
// The pass walks the list as well, and does not follow references.
const Wrapping wrappingsOfTheEvaluator[] = {
    {"element", [](Tree& t, Inner inner) { return t.element(t.list({inner}), {0}); }},
    {"reference", [](Tree& t, Inner inner) { return t.reference(t.property(inner)); }},
};
// clang-format on

// The innermost node is a host's, so that nothing about it is known beforehand.
ExpressionAST* nested(Tree& t, const Wrapping& wrapping, int levels)
{
    ExpressionAST* node = t.traced('x', 1);
    for (int i = 0; i < levels; ++i)
        node = wrapping.around(t, node);
    return node;
}

template <typename AnyVisitor>
void expectTakesUpToTheLimit(const Wrapping& wrapping)
{
    Tree t;
    ExpressionAST* node = nested(t, wrapping, deepest);
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

} // namespace
} // namespace Marl::Tests
