// Functions that a host brings, walked and compiled.
#include <tests/support/compiled.h>
#include <tests/support/host_function.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/value/exceptions.h>
#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace Marl::Tests {
namespace {

using enum ValueType;
using Rule = std::function<Value(std::span<const Value>, const Moment&)>;

struct HostFunctions : testing::Test {
    Tree t;
    ExpressionAST* const time = t.call(Builtin::Time);
    const Times times = scattered(70);

    HostFunction* function(Rule rule, const std::vector<Operand>& arguments = {})
    {
        auto* made = t.program.make<HostFunction>();
        made->rule = std::move(rule);
        for (const Operand& argument : arguments)
            made->arguments.push_back(t.node(argument));
        return made;
    }
    HostFunction* pure(FunctionKinds kinds, Rule rule, const std::vector<Operand>& arguments)
    {
        HostFunction* made = function(std::move(rule), arguments);
        made->pure = true;
        made->declared = std::move(kinds);
        return made;
    }

    // a + 2 b + 4 c, which tells the arguments apart.
    static Value weighted(std::span<const Value> values, const Moment&)
    {
        return values[0].getDouble() + 2 * values[1].getDouble() + 4 * values[2].getDouble();
    }
};

TEST_F(HostFunctions, GetTheirArgumentsInOrderAndTheMoment)
{
    std::string seen;
    const auto spell = [&](std::span<const Value> values, const Moment& moment) -> Value {
        for (const Value& value : values)
            seen += shown(value) + ", ";
        seen += shown(moment.time) + (moment.holdsKeys ? " held" : "");
        return CharString("spelt");
    };
    ExpressionAST* const node =
        function(spell, {t.traced('a', 1), t.vec(1, 2, 3), t.list({1, 2}), t.traced('b', time), Value()});
    EXPECT_EQ(resultOf(node, 7, true), "\"spelt\"");
    EXPECT_EQ(seen, "1, vec(1 2 3), [1, 2], 7, undefined, 7 held");
    EXPECT_EQ(t.trail, "ab");
    seen.clear();
    EXPECT_EQ(resultOf(function(spell), 2), "\"spelt\"");
    EXPECT_EQ(seen, "2");
}

TEST_F(HostFunctions, AreTypedWhereTheirKindsAreKnown)
{
    const FunctionKinds numbers{{Double, Double, Double}, Double};
    const auto record = [](ValueType kind) { return FunctionKinds{{kind, kind}, kind}; };
    const auto first = [](std::span<const Value> values, const Moment&) { return values[0]; };
    const auto second = [](std::span<const Value> values, const Moment&) { return values[1]; };
    ExpressionAST* const vector = t.vec(time, 0.1, 3);
    ExpressionAST* const matrix = t.mat(vector, t.vec(0, time, 1), t.vec(0, 0, 1));
    ExpressionAST* const color = t.rgb(time, 0.5, 1);
    ExpressionAST* const acolor = t.rgba(1, time, 0.5, 0.1);
    ExpressionAST* const transform = t.xform(matrix, vector);
    PropertyAST* const shared = t.property(pure(numbers, weighted, {time, t.sum(time, 1), 3}));
    Expressions expressions = {
        shared->expression,
        pure(numbers, weighted, {1, 2, 3}),
        pure(numbers, weighted, {t.product(time, 2), pure(numbers, weighted, {time, 1, time}), t.sum(time, time)}),
        t.sum(pure(numbers, weighted, {time, time, 1}), t.product(pure(numbers, weighted, {1, time, 1}), 3)),
        t.vec(pure(numbers, weighted, {time, 1, 1}), 1, pure(numbers, weighted, {1, 1, time})),
        t.sum(t.reference(shared), t.product(t.reference(shared), 2)),
        t.keys({{0, pure(numbers, weighted, {time, 1, 2})}, {2, 7}}),
        t.keys({{pure(numbers, weighted, {0, 0, 0}), 3}, {2, 7}}),
        t.element(t.list({1, pure(numbers, weighted, {time, 1, 2})}), {1}),
        t.negated(pure(record(Vector), first, {vector, t.vec(1, 2, 3)})),
        t.sum(pure(record(Vector), second, {vector, t.sum(vector, vector)}), vector),
        t.product(pure(record(Transform), first, {transform, transform}),
                  pure(record(Vector), first, {vector, vector})),
    };
    for (const auto& [kind, node] :
         {std::pair(Vector, vector), {Matrix, matrix}, {Color, color}, {AColor, acolor}, {Transform, transform}})
        for (const auto& choice : {Rule(first), Rule(second)})
            expressions.push_back(pure(record(kind), choice, {node, t.keys({{0, node}, {1, node}})}));
    for (const bool hold : {false, true})
        expectAsWalked(expressions, times, {.hold = hold});
    const CompiledExpressions compiled(expressions);
    BatchEvaluator evaluator(compiled);
    evaluator.evaluate(times);
    for (std::size_t i = 0; i < expressions.size(); ++i)
        EXPECT_TRUE(evaluator.column(i).kind()) << i;
}

// A vector's arguments and values in double precision, as they are.
TEST_F(HostFunctions, MayComputeBlocks)
{
    int called = 0, most = 0;
    const auto call = [&](std::span<const Value> values, const Moment& moment) -> Value {
        ++called;
        const TracePoint p = values[0].getTracePoint();
        return TracePoint{p.x * values[1].getDouble(), p.y + moment.time, moment.holdsKeys ? 0 : p.z};
    };
    HostFunction* node = function(call, {t.vec(time, 0.1, 1e300), t.sum(time, 0.1)});
    node->declared = FunctionKinds{{Vector, Double}, Vector};
    node->blockRule = [&](const FunctionBlock& block) {
        const double *p = block.arguments[0].doubles, *factor = block.arguments[1].doubles;
        double* result = block.values.doubles;
        for (std::size_t i = 0; i < block.count; ++i) {
            result[i] = p[i] * factor[i];
            result[i + block.stride] = p[i + block.stride] + block.times[i];
            result[i + 2 * block.stride] = block.holdsKeys ? 0 : p[i + 2 * block.stride];
        }
        most = std::max(most, static_cast<int>(block.count));
    };
    for (const bool hold : {false, true})
        expectAsWalked({node, t.sum(node, node), t.keys({{0, node}, {1, t.vec(1, 2, 3)}})}, times, {.hold = hold});
    EXPECT_GT(most, 1);
    called = 0;
    const CompiledExpressions compiled(Expressions{node});
    BatchEvaluator evaluator(compiled);
    evaluator.evaluate(times);
    evaluator.valueAt(3, 0);
    EXPECT_EQ(called, 0);
}

TEST_F(HostFunctions, MayFailAndChangeTheirKind)
{
    const auto choosy = [&](std::span<const Value> values, const Moment&) -> Value {
        const double x = values[0].getDouble();
        if (x > 2)
            throw InvalidOpException("Too large.");
        return x > 1 ? Value(TracePoint{x, x, x}) : x > 0 ? Value(x) : Value();
    };
    for (const bool isPure : {false, true}) {
        HostFunction* node = function(choosy, {time});
        HostFunction* constant = function(choosy, {5});
        node->pure = constant->pure = isPure;
        expectAsWalked({node, t.sum(node, 1), t.list({node, time}), t.vec(node, 1, 2), t.keys({{node, 1}, {9, 2}}),
                        t.element(t.list({1, 2, 3}), {node}), constant, t.keys({{0, 1}, {3, constant}}),
                        function(choosy, {t.failing()}), function(choosy, {nullptr}), function(choosy, {node}),
                        t.element(node, {0})},
                       times);
    }
    EXPECT_EQ(resultOf(function(choosy, {3})), "fails: Too large.");
}

TEST_F(HostFunctions, SayWhatVaries)
{
    const auto first = [](std::span<const Value> values, const Moment&) { return values[0]; };
    int calls = 0;
    const auto counted = [&](std::span<const Value>, const Moment&) -> Value { return ++calls; };
    HostFunction* const constant = function(first, {3});
    HostFunction* const pureConstant = pure({{Double}, Double}, first, {3});
    HostFunction* const pureVarying = pure({{Double}, Double}, first, {time});
    HostFunction* const onceABatch = function(counted, {3});
    HostFunction* const folded = pure({{}, Double}, counted, {});
    onceABatch->pure = true;
    const CompiledExpressions compiled(Expressions{constant, pureConstant, pureVarying, onceABatch, folded});
    EXPECT_EQ(calls, 1);
    const bool expected[] = {true, false, true, false, false};
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_EQ(compiled.variesWithTime(i), expected[i]) << i;
    BatchEvaluator evaluator(compiled);
    evaluator.evaluate(times);
    EXPECT_EQ(calls, 2);
}

TEST_F(HostFunctions, CountAsALevelAndCloseCircles)
{
    const auto first = [](std::span<const Value> values, const Moment&) { return values[0]; };
    ExpressionAST* node = time;
    for (int i = 0; i < 6; ++i)
        node = i % 2 == 0 ? static_cast<ExpressionAST*>(pure({{Double}, Double}, first, {node}))
                          : function(first, {node});
    for (const int limit : {5, 6})
        expectAsWalked({node}, times, {.depthLimit = limit});
    EXPECT_EQ(walked(node, 1, {.depthLimit = 5}), "fails: Expression is nested too deeply.");
    PropertyAST* const self = t.property(0);
    self->expression = function(first, {t.reference(self)});
    expectAsWalked({self->expression, t.reference(self)}, times);
    EXPECT_EQ(walked(self->expression, 1), "fails: Property references form a cycle.");
}

// What they throw that is no failure of the expression passes through, and leaves evaluators usable.
TEST_F(HostFunctions, MayBreakTheirWord)
{
    struct Broken {};
    bool isBroken = true;
    const auto breaking = [&](std::span<const Value> values, const Moment&) {
        return isBroken ? throw Broken() : values[0];
    };
    HostFunction* const word = pure({{Double}, Double}, breaking, {time});
    for (HostFunction* node : {word, function(breaking, {time})}) {
        const CompiledExpressions compiled(Expressions{node, t.sum(node, 1)});
        BatchEvaluator evaluator(compiled);
        CalculationVisitor walk;
        isBroken = true;
        EXPECT_THROW(evaluator.evaluate(times), Broken);
        EXPECT_THROW(evaluator.valueAt(1, 1), Broken);
        EXPECT_THROW(node->accept(&walk), Broken);
        EXPECT_FALSE(walk.hasResult());
        isBroken = false;
        expectAsWalked(evaluator, {node, t.sum(node, 1)}, times);
    }
}

} // namespace
} // namespace Marl::Tests
