// What is needed is evaluated, once a time; circles and depth count only where a time reaches them.
#include <tests/support/compiled.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>
#include <tests/support/wrappings.h>

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace Marl::Tests {
namespace {

// The walk takes 2^1000 visits for it.
TEST(Sharing, OfAChainThatDoublesTakesAStepALink)
{
    constexpr int links = 1000;
    Tree t;
    Expressions expressions;
    PropertyAST* link = t.property(t.traced('x', t.call(Builtin::Time)));
    for (int i = 0; i < links; ++i) {
        expressions.push_back(t.sum(t.reference(link), t.reference(link)));
        link = t.property(expressions.back());
    }
    const CompiledExpressions compiled(expressions);
    EXPECT_EQ(t.trail, "");
    BatchEvaluator evaluator(compiled);
    const Times times = {1, -0.0, 3, 0.1, -1e300, 5e-324};
    evaluator.evaluate(times);
    for (std::size_t i = 0; i < times.size(); ++i)
        for (const int link : {0, 1, 500, links - 1}) {
            const auto e = static_cast<std::size_t>(link);
            const double expected = std::ldexp(times[i], static_cast<int>(e) + 1);
            EXPECT_EQ(resultOf(evaluator.column(e), i), shown(expected)) << e;
            EXPECT_EQ(resultOf(evaluator, times[i], e), shown(expected)) << e;
        }
    EXPECT_LT(t.trail.size(), 100 * times.size());

    // Two levels a link, and the walk fails on its way down.
    for (const int limit : {2 * links, 2 * links - 1}) {
        evaluator.setDepthLimit(limit);
        const std::string expected =
            limit == 2 * links ? shown(std::ldexp(1.0, links)) : walked(expressions.back(), 1, {.depthLimit = limit});
        EXPECT_EQ(resultOf(evaluator, 1, links - 1), expected) << limit;
        evaluator.evaluate(times);
        EXPECT_EQ(resultOf(evaluator.column(links - 1), 0), expected) << limit;
        EXPECT_EQ(resultOf(evaluator.column(0), 0), "2") << limit;
    }
}

// Lists that double, circles and failures: none is looked at for a time that does not need it, nor by compiling.
TEST(Keys, ThatNoTimeNeedsCostNothing)
{
    Tree t;
    PropertyAST* doubling = t.property(t.list({1}));
    for (int i = 0; i < 500; ++i)
        doubling = t.property(t.list({t.reference(doubling), t.reference(doubling)}));
    PropertyAST* circle = t.property(0);
    circle->expression = t.sum(t.reference(circle), 1);
    PropertyAST* knot = t.property(0); // every way through it is another one
    for (int i = 0; i < 500; ++i)
        knot = t.property(
            t.sum(t.reference(knot), t.sum(t.reference(knot), t.keys({{0, 1}, {1, t.reference(circle)}}))));
    Expressions expressions;
    for (const Operand& heavy : {Operand(t.reference(doubling)), Operand(t.reference(circle)), Operand(t.failing()),
                                 Operand(t.negated(t.reference(knot))), Operand(nullptr)})
        for (ExpressionAST* node : Expressions{t.keys({{0, 1}, {10, heavy}}), t.element(t.list({1, heavy}), {0}),
                                               t.element(t.list({1, heavy}), {t.call(Builtin::Time)})})
            expressions.push_back(node);
    expectAsWalked(expressions, Times{-1, 0, -0.5});
    expectAsWalked(expressions, Times(300, 0));
    expectAsWalked(expressions, Times{0, -1}, {.hold = true});
}

TEST(Keys, AreEvaluatedAroundTheTime)
{
    for (const bool areResolved : {false, true}) {
        Tree t;
        PropertyAST* self = t.property(0);
        auto* keys = t.keys({{0, t.traced('a', 10)},
                             {1, t.traced('b', 20)},
                             {2, t.traced('c', 30)},
                             {4, t.failing()},
                             {6, t.traced('d', 40)},
                             {8, t.reference(self)}});
        self->expression = keys;
        if (areResolved)
            keys->sortKeys();
        const Expressions expressions{keys};
        const CompiledExpressions compiled(expressions);
        BatchEvaluator evaluator(compiled);
        const struct {
            double at;
            const char *trail, *held;
        } rows[] = {
            {-1, "a", "a"},           {0, "a", "a"},      {0.5, "ab", "a"}, {1, "bc", "b"}, {1.5, "bc", "b"},
            {2.5, "c", "c"},          {5, "", ""},        {6, "d", "d"},    {7, "d", "d"},  {9, "", ""},
            {std::nan(""), "a", "a"}, {HUGE_VAL, "", ""},
        };
        for (const auto& [at, trail, held] : rows)
            for (const bool hold : {false, true}) {
                t.trail.clear();
                evaluator.setDontInterpolate(hold ? 1 : 0);
                evaluator.evaluate(Times{at});
                resultOf(evaluator, at, 0);
                const std::set<char> visited(t.trail.begin(), t.trail.end());
                EXPECT_EQ(std::string(visited.begin(), visited.end()), hold ? held : trail) << at;
            }
        Times all = scattered(300);
        for (const auto& row : rows)
            all.push_back(row.at);
        expectAsWalked(expressions, all);
        expectAsWalked(expressions, all, {.hold = true});
    }
}

// A property that is being evaluated when it is entered again. Which times reach the circle, and what is
// met before, differs from row to row.
TEST(Circles, FailWhereTheyAreReached)
{
    Tree t;
    ExpressionAST* const time = t.call(Builtin::Time);
    const auto at = [&](const Operand& early, const Operand& late) {
        return t.element(t.list({early, late}), {t.keys({{0, 0}, {1, 1}})}); // from time 1 on the late one
    };
    const auto make = [&] { return t.property(nullptr); };
    PropertyAST *self = make(), *ping = make(), *pong = make(), *three[3] = {make(), make(), make()};
    PropertyAST *sometimes = make(), *other = make(), *listed = make(), *mirror = make();
    PropertyAST *first = make(), *second = make(), *choosing = make();
    self->expression = t.sum(1, t.reference(self));
    ping->expression = t.list({1, t.reference(pong)});
    pong->expression = t.negated(t.reference(ping));
    for (int i = 0; i < 3; ++i)
        three[i]->expression = t.vec(time, t.reference(three[(i + 1) % 3]), t.failing());
    // Round and round: each refers to the other at other times.
    sometimes->expression = at(time, t.sum(t.reference(other), 1));
    other->expression = at(t.sum(t.reference(sometimes), 2), 5);
    // A circle at some times, from either side.
    first->expression = t.keys({{0, 3}, {1, t.reference(second)}, {2, t.vec(1, 2, 3)}});
    second->expression = t.keys({{0, t.reference(first)}, {1, 4}, {2, t.negated(t.reference(first))}});
    listed->expression =
        t.list({time, t.element(t.reference(listed), {0}), t.sum(t.element(t.reference(listed), {1}), 1),
                t.reference(listed)}); // elements enter nothing
    mirror->expression = t.reference(mirror);
    choosing->expression = t.element(t.list({t.reference(choosing), t.reference(self), t.failing()}), {time});

    Expressions expressions;
    for (PropertyAST* property :
         {self, ping, pong, three[0], three[2], sometimes, other, listed, mirror, first, second, choosing}) {
        expressions.push_back(property->expression); // not entered yet
        expressions.push_back(t.reference(property));
        expressions.push_back(t.sum(t.reference(property), t.reference(property))); // left before it is entered again
        expressions.push_back(t.list({t.failing(), t.reference(property)}));
        for (int i = 0; i < 4; ++i)
            expressions.push_back(t.element(t.reference(property), {i}));
    }
    // A node below itself.
    NegatedExpressionAST* ring = t.negated(nullptr);
    ring->operand = t.keys({{0, 1}, {1, ring}});
    auto* list = t.list({1, nullptr});
    list->firstItem->next->expression = list;
    auto* selected = t.element(nullptr, {0});
    selected->target = t.list({selected, 1});
    for (ExpressionAST* node : Expressions{ring, list, selected, t.sum(ring, 1), t.element(list, {1, 1, 1, 0})})
        expressions.push_back(node);

    const Times times = {0, 1, 0.5, 2, -1, 1.5, 0, 3};
    expectAsWalked(expressions, times);
    for (ExpressionAST* expression : expressions) // and each compiled alone
        expectAsWalked({expression}, times);
    for (int limit = 0; limit <= 40; ++limit)
        expectAsWalked(expressions, times, {.depthLimit = limit});
}

TEST(References, ThatLeadNowhereFail)
{
    Tree t;
    ExpressionAST* const unbound = t.reference("nobody", "x");
    ExpressionAST* const empty = t.reference(t.property(nullptr));
    expectAsWalked({unbound, empty, t.sum(unbound, empty), t.sum(empty, unbound), t.element(unbound, {0}),
                    t.element(empty, {0}), t.keys({{0, 1}, {1, unbound}}), t.keys({{unbound, 1}, {empty, 2}}),
                    t.reference(t.property(t.sum(1, unbound)))},
                   {0, 0.5, 1});
}

// Everything that nests, one in another and side by side, at every limit around its depth.
TEST(Depth, FailsAsTheWalkSaysAtEveryLimit)
{
    Tree t;
    ExpressionAST* const time = t.call(Builtin::Time);
    Expressions expressions;
    const auto everyWrapping = [&](const auto& action) {
        for (const Wrapping& wrapping : wrappings)
            action(wrapping);
        for (const Wrapping& wrapping : wrappingsOfTheEvaluator)
            action(wrapping);
    };
    everyWrapping([&](const Wrapping& outer) {
        expressions.push_back(nested(t, outer, 12, time));
        expressions.push_back(nested(t, outer, 12, t.traced('x', 1)));
        expressions.push_back(nested(t, outer, 3, t.vec(1, 2, 3, ValueType::Matrix)));
        everyWrapping([&](const Wrapping& inner) {
            ExpressionAST* const deep = nested(t, outer, 3, nested(t, inner, 4, time));
            expressions.push_back(deep);
            expressions.push_back(t.sum(t.negated(t.reference(t.property(deep))), deep)); // shared at two depths
            expressions.push_back(t.list({t.call(Builtin::Pow, {deep, t.failing()})}));   // one failure or the other
            expressions.push_back(t.keys({{0, 1}, {1, deep}, {2, t.negated(deep)}, {3, 1}})); // now and then
        });
    });
    auto* known = t.keys({{0, 10}, {t.negated(t.negated(t.negated(t.node(-1)))), 20}});
    known->sortKeys();
    EXPECT_FALSE(known->constantTimes().times.empty());
    expressions.push_back(known);
    expressions.push_back(t.sum(known, t.negated(known)));

    const CompiledExpressions compiled(expressions);
    BatchEvaluator evaluator(compiled);
    for (int limit = 0; limit <= 40; ++limit) {
        SCOPED_TRACE(limit);
        expectAsWalked(evaluator, expressions, {-1, 0.5, 1, 2.5}, {.depthLimit = limit});
    }
}

} // namespace
} // namespace Marl::Tests
