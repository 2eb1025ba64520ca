// Columns: what a batch leaves in them, of whatever length, in whatever order of times.
#include <tests/support/compiled.h>
#include <tests/support/evaluations.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/compiled/batch_evaluator.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string_view>

namespace Marl::Tests {
namespace {

// Every kind of column there is, and none.
Expressions assorted(Tree& t)
{
    using enum Builtin;
    ExpressionAST* const time = t.call(Time);
    ExpressionAST* const shared = t.sum(t.product(time, 0.1), t.call(Sin, {time}));
    ExpressionAST* const vector = t.vec(shared, time, t.quotient(1, time));
    ExpressionAST* const turned = t.mat(vector, t.vec(0, 1, time), t.vec(1, 0, 0));
    Expressions all = {
        time,
        shared,
        vector,
        turned,
        t.rgb(time, shared, 0.5),
        t.rgba(time, 0.25, shared, 1),
        t.xform(turned, vector),
        t.product(vector, turned),
        t.call(Length, {vector}),
        t.call(Noise, {vector}),
        t.call(Cross, {vector, t.vec(1, time, 0)}),
        t.call(Uniform, {time, 2}, 0.3f),
        t.call(Pow, {time, 2}),
        t.keys({{-2, vector}, {0, t.vec(1, 2, 3)}, {3, t.product(vector, time)}}),
        t.keys({{time, shared}, {t.negated(time), 7}, {2, time}}), // whose order changes
        t.keys({{-1, t.xform(turned, vector)}, {4, t.xform(1, vector)}}),
        t.sortedKeys({{-2, 1}, {0.7, 5}, {3, -2}, {9, 0.1}}),
        t.sortedKeys({{-2, vector}, {0.7, t.vec(1, 0.1, 3)}, {3, t.product(vector, time)}}),
        t.sortedKeys({{-1, t.xform(turned, vector)}, {4, t.xform(1, vector)}}),
        t.sortedKeys({{-1, t.rgba(1, time, 2, shared)}, {0, t.rgba(0, 1, 2, 3)}, {0.7, t.rgba(time, 0, 0, 1)}}),
        t.quotient(t.sum(time, 1), t.difference(t.product(time, 3), t.sum(time, 0.1))), // the right one first
        t.element(t.list({time, vector, t.failing()}), {time}),                         // of several kinds, or none
        t.sum(t.element(t.list({1, vector}), {time}), 1),                               // fails now and then
        t.list({time, vector}),
        t.keys({{0, listOf<Vector>({{1, 2, 3}})}, {5, listOf<Vector>({{4, 5, 6}})}}),
        t.sum(1, TracePoint{1, 2, 3}),
        nullptr,
        t.vec(1, 2, 3, ValueType::Matrix),
    };
    for (const char letter : std::string_view(kindLetters))
        all.push_back(t.node(sampleOf(letter)));
    return all;
}

TEST(Columns, SayWhatTheWalkSaysInBatchesOfAnyLength)
{
    Tree t;
    const Expressions expressions = assorted(t);
    const CompiledExpressions compiled(expressions);
    BatchEvaluator evaluator(compiled); // one for all, shorter batches after longer ones
    EXPECT_EQ(compiled.size(), expressions.size());
    for (const std::size_t size : batchSizes) {
        SCOPED_TRACE(size);
        expectAsWalked(evaluator, expressions, scattered(size));
        expectAsWalked(evaluator, expressions, {1.5});
    }
}

TEST(Columns, DoNotDependOnTheOrderOfTheTimes)
{
    Tree t;
    const Expressions expressions = assorted(t);
    const CompiledExpressions compiled(expressions);
    BatchEvaluator evaluator(compiled);
    for (const bool hold : {false, true}) {
        Times times = scattered(300);
        std::ranges::sort(times, [](double a, double b) { return std::isnan(b) ? !std::isnan(a) : a < b; });
        expectAsWalked(evaluator, expressions, times, {.hold = hold});
        std::ranges::reverse(times);
        expectAsWalked(evaluator, expressions, times, {.hold = hold});
        expectAsWalked(evaluator, expressions, Times(300, 0.7), {.hold = hold});
    }
}

TEST(Columns, OfAllKindsOfNodesCompiledTogether)
{
    Evaluations scene;
    std::erase_if(scene.rows, [&](const Evaluation& row) {
        return messageOf<Exception>([&] { scene.resolve(row); }) != "no failure";
    });
    Expressions expressions;
    for (const Evaluation& row : scene.rows)
        expressions.push_back(row.expression);
    const CompiledExpressions compiled(expressions);
    EXPECT_EQ(scene.reads(), 0); // by compiling
    BatchEvaluator evaluator(compiled);
    const Times times = {1, 0, 1};
    evaluator.evaluate(times);
    for (std::size_t e = 0; e < expressions.size(); ++e) {
        EXPECT_EQ(resultOf(evaluator.column(e), 0), scene.rows[e].result) << scene.rows[e].name;
        EXPECT_EQ(resultOf(evaluator.column(e), 2), scene.rows[e].result) << scene.rows[e].name;
        EXPECT_EQ(resultOf(evaluator, 1, e), scene.rows[e].result) << scene.rows[e].name;
    }
    EXPECT_TRUE(scene.areAtRest());
}

TEST(Columns, KnowTheirKind)
{
    Tree t;
    ExpressionAST* const time = t.call(Builtin::Time);
    const auto either = [&](const Operand& first, const Operand& second) {
        return t.element(t.list({first, second}), {time});
    };
    const struct {
        const char* name;
        ExpressionAST* expression;
        std::optional<ValueType> kind;
    } rows[] = {
        // clang-format off
        {"numbers",              t.sum(time, 1),                       ValueType::Double},
        {"vectors",              t.vec(time, 1, 2),                    ValueType::Vector},
        {"colors",               t.rgb(time, 1, 2),                    ValueType::Color},
        {"alpha colors",         t.rgba(time, 1, 2, 3),                ValueType::AColor},
        {"matrices",             t.node(Matrix(2)),                    ValueType::Matrix},
        {"transforms",           t.xform(1, t.vec(time, 1, 2)),        ValueType::Transform},
        {"lists",                t.list({time}),                       ValueType::List},
        {"texts",                t.node(sampleOf('s')),                ValueType::String},
        {"undefined values",     t.call(Builtin(99)),                  ValueType::Undefined},
        {"one kind, found late", either(1, time),                      ValueType::Double},
        {"two kinds",            either(1, TracePoint{1, 2, 3}),       std::nullopt},
        {"a failure",            either(1, t.failing()),               std::nullopt},
        {"failures",             t.failing(),                          std::nullopt},
        // clang-format on
    };
    Expressions expressions;
    for (const auto& row : rows)
        expressions.push_back(row.expression);
    const CompiledExpressions compiled(expressions);
    BatchEvaluator evaluator(compiled);
    for (const auto& row : rows) {
        const auto e = static_cast<std::size_t>(std::ranges::find(expressions, row.expression) - expressions.begin());
        evaluator.evaluate(Times{0, 1, 0});
        EXPECT_EQ(evaluator.column(e).kind(), row.kind) << row.name;
        evaluator.evaluate(Times{});
        EXPECT_EQ(evaluator.column(e).kind(), std::nullopt) << row.name;
        EXPECT_EQ(evaluator.column(e).size(), 0u) << row.name;
    }
}

TEST(Columns, OfNothing)
{
    const CompiledExpressions compiled(Expressions{});
    EXPECT_EQ(compiled.size(), 0u);
    BatchEvaluator evaluator(compiled);
    evaluator.evaluate(scattered(3));

    Tree t;
    expectAsWalked({nullptr, t.vec(1, 2, 3, ValueType::Undefined)}, {}, {});
    const Expressions never{t.node(1)};
    const CompiledExpressions one(never);
    EXPECT_EQ(BatchEvaluator(one).column(0).size(), 0u);
}

TEST(Columns, StayWhileOneTimeIsAsked)
{
    Tree t;
    const Expressions expressions = assorted(t);
    const CompiledExpressions compiled(expressions);
    BatchEvaluator first(compiled);
    first.evaluate(scattered(40));
    const double* const numbers = first.column(1).numbers().data();
    const auto all = [&](const BatchEvaluator& evaluator) {
        std::string text;
        for (std::size_t e = 0; e < expressions.size(); ++e)
            for (std::size_t i = 0; i < 40; ++i)
                text += resultOf(evaluator.column(e), i) + "\n";
        return text;
    };
    const std::string before = all(first);
    BatchEvaluator evaluator = std::move(first);
    for (std::size_t e = 0; e < expressions.size(); ++e)
        resultOf(evaluator, 123.25, e);
    EXPECT_EQ(all(evaluator), before);
    EXPECT_EQ(evaluator.column(1).numbers().data(), numbers);
}

// Each setting counts for the evaluations behind it, and for one evaluator.
TEST(Columns, FollowTheSettingsOfTheirEvaluator)
{
    Tree t;
    const Expressions expressions{t.keys({{0, 1}, {2, t.negated(t.negated(5))}})};
    const CompiledExpressions compiled(expressions);
    BatchEvaluator evaluator(compiled), other(compiled);
    for (int round = 0; round < 2; ++round) {
        for (const Settings& settings :
             {Settings{}, Settings{.hold = true}, Settings{.depthLimit = 2}, Settings{.hold = true, .depthLimit = 2},
              Settings{.depthLimit = 0}, Settings{.depthLimit = -1}})
            expectAsWalked(evaluator, expressions, scattered(40), settings);
        expectAsWalked(other, expressions, scattered(40));
    }
    evaluator.setDepthLimit(10'000);
    for (const unsigned int hold : {1u, 2u, 0x80000000u}) {
        evaluator.setDontInterpolate(hold);
        EXPECT_EQ(resultOf(evaluator, 1, 0), "1") << hold;
    }
}

// Rows that may differ from one time to another, and rows that cannot.
TEST(Columns, AreSaidToVaryWhereTheyMay)
{
    Tree t;
    ExpressionAST* const time = t.call(Builtin::Time);
    ExpressionAST* const deepAtTimes = t.sortedKeys({{0, 1}, {1, t.negated(t.negated(time))}});
    for (ExpressionAST* varying : Expressions{
             t.vec(t.rgb(deepAtTimes, 1, 2), 1, 2), // the same where it is not too deep
             time, t.sum(1, t.negated(time)), t.vec(1, time, 2), t.keys({{0, 1}, {1, 2}}), t.keys({{0, time}}),
             t.reference(t.property(time)), t.list({1, time}), t.element(t.list({1, 2}), {time}), t.traced('h', 1),
             t.element(t.traced('h', t.list({1})), {0}), t.sum(t.failing(), 1),
             t.element(t.reference(t.property(t.list({1, time}))), {1}), t.call(Builtin::Sin, {time})})
        EXPECT_TRUE(CompiledExpressions(Expressions{varying}).variesWithTime(0)) << walked(varying, 0);
}

TEST(Columns, AreSaidNotToVaryWhereTheyCannot)
{
    Tree t;
    SourceOwner owner;
    FakeStream stream("1 2 3");
    ExpressionAST* const time = t.call(Builtin::Time);
    auto* list = placed(t.program.make<ListTypeExpressionAST<int>>(), owner, stream, 0, 5);
    for (ExpressionAST* constant :
         Expressions{t.node(1), t.sum(1, t.negated(2)), t.vec(1, 2, 3), t.call(Builtin::Sample), t.call(Builtin::Pi),
                     t.keys({{0, 5}}), t.reference(t.property(t.node(2))), t.list({1, t.list({2})}),
                     t.node(sampleOf('s')), list, t.element(list, {1}), t.element(t.list({1, time}), {0}),
                     t.call(Builtin(99)), t.sum(1, TracePoint{1, 2, 3}), t.reference("nobody", "x")})
        EXPECT_FALSE(CompiledExpressions(Expressions{constant}).variesWithTime(0)) << walked(constant, 0);
    EXPECT_FALSE(CompiledExpressions(Expressions{nullptr}).variesWithTime(0));
}

} // namespace
} // namespace Marl::Tests
