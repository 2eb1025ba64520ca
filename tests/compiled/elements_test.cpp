// Indices: what they select when some vary and some do not, and which failure counts.
#include <tests/support/compiled.h>
#include <tests/support/fake_stream.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <gtest/gtest.h>

#include <cmath>
#include <deque>
#include <set>
#include <string_view>

namespace Marl::Tests {
namespace {

const Value undefined;
const TracePoint vector{1, 2, 3};
const Times aroundTwo = {0, 1, 2, 0.5, -0.5, -1, 1.9, 2.1, 3, 1e10, -1e10, std::nan(""), HUGE_VAL, 0, 0};

// Everything by everything: targets and indices of all kinds.
TEST(Elements, AreThoseOfTheWalk)
{
    Tree t;
    SourceOwner owner;
    std::deque<FakeStream> streams;
    const auto unread = [&]<typename T>(T, const char* text) {
        return placed(t.program.make<ListTypeExpressionAST<T>>(), owner, streams.emplace_back(text), 0,
                      static_cast<int>(std::string_view(text).size()));
    };
    ExpressionAST* const time = t.call(Builtin::Time);
    ExpressionAST* const varying = t.vec(t.negated(time), 1, time);
    ExpressionAST* const mixed =
        t.list({time, varying, sampleOf('s'), t.list({1, t.list({2, varying}), t.failing()})});
    PropertyAST* const listed = t.property(mixed);
    PropertyAST* const mirror = t.property(0);
    mirror->expression = t.reference(mirror);
    PropertyAST* const own = t.property(0);
    own->expression = t.list({1, t.element(t.reference(own), {0}), t.element(t.reference(own), {2}), vector});
    const Expressions targets = {
        t.list({}),
        t.list({1, 2}),
        t.list({time, t.negated(time), 7}),
        mixed,
        t.list({1, nullptr, t.failing()}),
        varying,
        t.rgb(1, time, 3),
        t.rgba(time, 2, 3, 4),
        t.vec(1, time, 3, ValueType::List),
        t.mat(varying, vector, t.vec(time, time, time)),
        t.xform(t.mat(varying, vector, vector), varying),
        t.node(listOf({4, 5})),
        t.node(listOf({0.1f, 2.5f})),
        t.node(listOf<Vector>({{1, 2, 3}, {4, 5, 6}})),
        t.node(listOf<Color>({{1, 0, 0}})),
        t.node(listOf<CharString>({"a", nullptr})),
        unread(int(), "4 5"),
        unread(float(), "0.1 2.5"),
        unread(Vector(), "1 2 3, 4 5 6"),
        unread(Color(), "1 0 0"),
        unread(CharString(), "'a', 'b'"),
        unread(int(), "4 x"),
        t.reference(listed),
        t.reference(t.property(t.reference(listed))),
        t.reference(mirror),
        t.reference(own),
        t.reference("nobody", "x"),
        t.reference(t.property(nullptr)),
        t.traced('h', t.list({time, varying})),
        t.traced('h', t.traced('i', varying)),
        t.failing(),
        t.node(1),
        time,
        t.sum(t.list({1}), t.list({2})),
        t.keys({{0, t.list({1})}}),
        t.node(sampleOf('s')),
        t.element(mixed, {3}),
        nullptr,
    };
    const std::vector<std::vector<Operand>> indices = {
        {},
        {0},
        {1},
        {2},
        {-1},
        {1.9},
        {-0.9},
        {std::nan("")},
        {1e300},
        {time},
        {t.sum(time, 1)},
        {t.traced('t', time)},
        {0, 0},
        {0, time},
        {time, 0},
        {time, time},
        {1, 2},
        {3, 1},
        {3, 1, time},
        {3, time, 1},
        {3, 2},
        {undefined},
        {vector},
        {varying},
        {t.failing()},
        {nullptr},
        {time, t.failing()},
        {t.failing(), undefined},
        {undefined, t.failing()},
        {5, t.failing()},
        {0, nullptr},
        {t.keys({{0, 0}, {2, 2}})},
        {t.reference(t.property(time))},
        {t.element(t.list({1, 0, t.failing()}), {time})},
    };
    Expressions expressions;
    for (ExpressionAST* target : targets)
        for (const auto& chosen : indices) {
            ArrayExpressionAST* const element = t.element(target, {});
            for (const Operand& index : chosen)
                element->indices.push_back(t.node(index));
            expressions.push_back(element);
        }
    expectAsWalked(expressions, aroundTwo);
    expectAsWalked(expressions, {1});
    EXPECT_EQ(pthread_mutex_trylock(&owner.sourceMutex), 0);
}

TEST(Elements, AloneAreEvaluated)
{
    Tree t;
    ExpressionAST* const time = t.call(Builtin::Time);
    ExpressionAST* const items = t.list({t.traced('a', 1), t.traced('b', 2)});
    const struct {
        ExpressionAST* expression;
        const char* trails[2]; // which host's nodes are visited at the times 0 and 1
    } rows[] = {
        {t.element(items, {0}), {"a", "a"}},
        {t.element(items, {time}), {"a", "b"}},
        {t.element(t.reference(t.property(items)), {time}), {"a", "b"}},
        {t.element(t.list({items, t.traced('c', 3)}), {0, time}), {"a", "b"}},
        {t.element(t.vec(t.traced('x', 1), t.traced('y', 2), 3), {time}), {"x", "y"}},
        {t.element(items, {t.traced('i', time)}), {"ai", "bi"}},
        {t.element(nullptr, {t.traced('i', time), t.traced('j', time)}), {"i", "i"}},
    };
    for (const auto& [expression, trails] : rows)
        for (const int at : {0, 1}) {
            const Expressions expressions{expression};
            const CompiledExpressions compiled(expressions);
            BatchEvaluator evaluator(compiled);
            t.trail.clear();
            evaluator.evaluate(Times{static_cast<double>(at)});
            resultOf(evaluator, at, 0);
            const std::set<char> visited(t.trail.begin(), t.trail.end()); // how often is not promised
            EXPECT_EQ(std::string(visited.begin(), visited.end()), trails[at]) << walked(expression, at);
        }
}

// Of several operands that fail, the one that the walk meets first.
TEST(Operands, FailInTheOrderOfTheWalk)
{
    using enum Builtin;
    Tree t;
    ExpressionAST* const time = t.call(Time);
    // Fails at one of the times 0, 1 and 2, or gives no value at 3.
    const auto failsAt = [&](int at) {
        auto* choice = t.list({1, 2, 3, t.vec(0, 0, 0, ValueType::Matrix)});
        ListItem* item = choice->firstItem;
        for (int i = 0; i < at; ++i)
            item = item->next;
        item->expression =
            Expressions{t.failing(), t.reference("nobody", "x"), t.sum(1, vector)}[static_cast<std::size_t>(at)];
        return t.element(choice, {time});
    };
    ExpressionAST* const odd = t.element(t.list({undefined, 2, undefined, 4}), {time});
    const std::vector<Operand> operands = {1, failsAt(0), failsAt(1), failsAt(2), odd, vector, nullptr};
    Expressions expressions;
    for (const Operand& a : operands)
        for (const Operand& b : operands) {
            expressions.insert(expressions.end(),
                               {t.sum(a, b), t.quotient(b, a), t.call(Pow, {a, b}), t.call(Cross, {a, b}),
                                t.call(Uniform, {a, b}), t.xform(a, b), t.keys({{-1, a}, {2.5, b}}),
                                t.keys({{a, 1}, {b, 2}}), t.keys({{a, b}, {time, a}}), t.keys({{a, b}}),
                                t.element(a, {b}), t.element(t.list({1, 2}), {a, b}), t.list({a, b}), t.negated(a)});
            for (const Operand& c : operands)
                expressions.insert(
                    expressions.end(),
                    {t.vec(a, b, c), t.rgb(c, a, b), t.mat(b, c, a), t.rgba(1, a, b, c), t.sum(t.sum(a, b), c)});
        }
    for (const bool hold : {false, true})
        expectAsWalked(expressions, {3, 0, 1, 2, 2.75, 1, 0}, {.hold = hold});
}

TEST(Operands, AreNotVisitedBehindAFailure)
{
    Tree t;
    ExpressionAST* const failing = t.element(t.list({1, t.failing()}), {t.call(Builtin::Time)});
    ExpressionAST* const traced = t.traced('x', 1);
    for (ExpressionAST* expression :
         Expressions{t.sum(failing, traced), t.vec(failing, traced, 1), t.list({failing, traced}),
                     t.call(Builtin::Pow, {failing, traced}), t.keys({{-5, failing}, {5, traced}}),
                     t.keys({{failing, 1}, {traced, 2}}), t.element(nullptr, {failing, traced}),
                     t.mat(failing, traced, traced), t.xform(failing, traced), t.rgba(1, failing, traced, traced)}) {
        const Expressions expressions{expression};
        const CompiledExpressions compiled(expressions);
        EXPECT_EQ(t.trail, "") << "visited by compiling";
        BatchEvaluator evaluator(compiled);
        evaluator.evaluate(Times{1, 1});
        EXPECT_EQ(resultOf(evaluator, 1, 0), "fails: Failed on purpose.");
        EXPECT_EQ(t.trail, "");
        t.trail.clear();
    }
}

} // namespace
} // namespace Marl::Tests
