// A host's own nodes among the others.
#include <tests/support/compiled.h>
#include <tests/support/host_node.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/value/exceptions.h>
#include <marl/visitor/calculation_visitor.h>

#include <gtest/gtest.h>

#include <functional>

namespace Marl::Tests {
namespace {

struct HostBroke {};

struct HostNodes : testing::Test {
    Tree t;
    ExpressionAST* const time = t.call(Builtin::Time);

    HostNode* node(std::function<void(Visitor&)> script)
    {
        auto* made = t.program.make<HostNode>();
        made->script = std::move(script);
        return made;
    }
    // What a host does that has no node for it: looks at what its child gave and gives another value.
    HostNode* atMostTwo(ExpressionAST* child)
    {
        return node([child](Visitor& visitor) {
            child->accept(&visitor);
            const Value value = dynamic_cast<CalculationVisitor&>(visitor).getResult();
            NumberExpressionAST two;
            two.number = 2;
            if (value.getDouble() > 2)
                two.accept(&visitor);
        });
    }
    // Lies in everything else, where one value is what a visit leaves.
    Expressions around(const Operand& host)
    {
        return {t.node(host),
                t.sum(host, 1),
                t.sum(time, host),
                t.negated(host),
                t.vec(host, time, host),
                t.rgba(1, host, time, 1),
                t.mat(t.vec(1, 2, 3), host, host),
                t.xform(1, host),
                t.list({time, host}),
                t.call(Builtin::Sqrt, {host}),
                t.call(Builtin::Noise, {host}),
                t.call(Builtin::Pow, {host, time}),
                t.keys({{0, host}}),
                t.keys({{0, host}, {2, time}}),
                t.keys({{0, time}, {2, host}}),
                t.keys({{host, 5}}),
                t.keys({{host, time}, {2, host}}),
                t.element(t.list({host, time}), {time}),
                t.element(t.list({host}), {0}),
                t.element(t.list({1, 2}), {host}),
                t.element(host, {0}),
                t.element(host, {time}),
                t.element(host, {}),
                t.reference(t.property(host)),
                t.sum(t.reference(t.property(host)), t.reference(t.property(host)))};
    }
};

const Times times = {0, 1, 2, 3, -1, 0.5, 2.5, 1, 0};

TEST_F(HostNodes, GiveAValueAFailureOrNothing)
{
    ExpressionAST* const vector = t.vec(time, 1, 2);
    auto* fails = node([](Visitor&) { throw InvalidOpException("No such thing."); });
    auto* nothing = node([](Visitor&) {});
    auto* handsOn = t.traced('x', time);
    auto* vectors = t.traced('v', vector);
    auto* leavesSeveral = node([this](Visitor& visitor) { t.list({1})->accept(&visitor); });
    auto* tree = t.keys({{0, 1}, {2, vector}});
    auto* fromATree = node([&](Visitor& visitor) { tree->accept(&visitor); });
    for (ExpressionAST* host :
         Expressions{fails, nothing, handsOn, vectors, leavesSeveral, fromATree, t.traced('a', handsOn)})
        for (const bool hold : {false, true})
            expectAsWalked(around(host), times, {.hold = hold});
}

TEST_F(HostNodes, MayChangeWhatTheyGiveFromTimeToTime)
{
    Expressions parts = {time, t.vec(1, time, 2), t.failing(), node([](Visitor&) {}), t.node(sampleOf('s'))};
    ExpressionAST* const choice = t.element(t.list({parts[0], parts[1], parts[2], parts[3]}), {time});
    expectAsWalked(around(t.traced('x', choice)), {0, 1, 2, 3, 4, 3, 2, 1, 0});
    auto* elements = t.program.make<HostNode>();
    elements->elements = [parts](int index) { return index < 0 || index > 4 ? nullptr : parts[std::size_t(index)]; };
    expectAsWalked({t.element(elements, {time}), t.element(elements, {1}), t.element(elements, {time, time}),
                    t.element(t.reference(t.property(elements)), {time}), t.sum(t.element(elements, {1}), time)},
                   {0, 1, 2, 3, 4, 5, -1, 1, 0});
}

TEST_F(HostNodes, GiveTheLastOfSeveralValues)
{
    expectAsWalked(around(atMostTwo(time)), times);
    expectAsWalked(around(t.sum(atMostTwo(t.sum(atMostTwo(time), 1)), time)), times);
}

// What a host does to the visitor is forgotten behind its node.
TEST_F(HostNodes, ChangeNothingForOthers)
{
    auto* meddling = node([](Visitor& visitor) {
        auto& walk = dynamic_cast<CalculationVisitor&>(visitor);
        walk.setTimeParam(100);
        walk.setDontInterpolate(1);
        walk.setDepthLimit(1);
        NumberExpressionAST().accept(&visitor);
    });
    ExpressionAST* const others = t.sum(time, t.keys({{0, 1}, {4, 9}}));
    const Expressions expressions{t.sum(meddling, others), t.negated(t.vec(others, meddling, others))};
    const CompiledExpressions compiled(expressions);
    BatchEvaluator evaluator(compiled);
    for (int round = 0; round < 2; ++round) {
        evaluator.evaluate(times);
        for (std::size_t i = 0; i < times.size(); ++i) {
            EXPECT_EQ(resultOf(evaluator.column(0), i), walked(t.sum(0, others), times[i]));
            EXPECT_EQ(resultOf(evaluator.column(1), i), walked(t.negated(t.vec(others, 0, others)), times[i]));
            EXPECT_EQ(resultOf(evaluator, times[i], 0), walked(t.sum(0, others), times[i]));
        }
    }
}

// While compiling nothing of a host is called, and evaluating passes on what is no failure of the expression.
TEST_F(HostNodes, ThrowWhatTheyLike)
{
    bool isBroken = true;
    auto* broken = node([&](Visitor& visitor) {
        if (isBroken)
            throw HostBroke();
        time->accept(&visitor);
    });
    auto* brokenElements = t.program.make<HostNode>();
    brokenElements->elements = [&](int) -> ExpressionAST* { return isBroken ? throw HostBroke() : time; };
    struct BrokenParser final : Parser {
        explicit BrokenParser(const bool& given) : isBroken(given) {}
        Object* findObject(const char*) override { return isBroken ? throw HostBroke() : nullptr; }
        const bool& isBroken;
    } parser(isBroken);
    auto* object = t.program.make<ObjectReferenceAST>();
    object->parser = &parser;
    for (const Operand& host : {Operand(broken), Operand(t.element(brokenElements, {0})), Operand(object)}) {
        const Expressions expressions = {time, t.sum(time, host), t.keys({{0, 1}, {2, host}, {3, time}})};
        isBroken = true;
        const CompiledExpressions compiled(expressions);
        BatchEvaluator evaluator(compiled);
        for (int round = 0; round < 3; ++round) {
            isBroken = round != 1;
            if (isBroken) {
                EXPECT_THROW(evaluator.evaluate(times), HostBroke);
                EXPECT_THROW(evaluator.valueAt(1, 1), HostBroke);
                EXPECT_EQ(resultOf(evaluator, 0, 0), "0");
                EXPECT_EQ(resultOf(evaluator, 5, 2), "5"); // which needs no host
            } else {
                expectAsWalked(evaluator, expressions, times);
            }
        }
    }
}

// Of whatever class they are.
TEST_F(HostNodes, FailWithAnyException)
{
    auto* lost = node([](Visitor&) { throw BadRefException("Lost."); });
    const Expressions expressions = {lost, t.sum(lost, 1), t.list({1, lost}), t.keys({{0, 1}, {2, lost}}),
                                     t.sum(t.traced('x', lost), t.failing())};
    expectAsWalked(expressions, times);
    EXPECT_EQ(walked(lost, 0), "fails to refer: Lost.");
}

// A host's node leads to nodes that are compiled elsewhere, and back to itself.
TEST_F(HostNodes, LeadAnywhere)
{
    PropertyAST* shared = t.property(t.sum(time, 1));
    PropertyAST* circle = t.property(nullptr);
    circle->expression = t.sum(t.traced('x', t.reference(circle)), 1);
    PropertyAST* element = t.property(nullptr);
    element->expression = t.list({1, t.element(t.traced('x', t.reference(element)), {0})});
    const Expressions expressions = {t.reference(shared),
                                     t.sum(t.traced('x', t.reference(shared)), t.reference(shared)),
                                     circle->expression,
                                     t.reference(circle),
                                     t.traced('x', t.reference(circle)),
                                     element->expression,
                                     t.element(t.traced('x', t.reference(element)), {1})};
    expectAsWalked(expressions, times);
}

} // namespace
} // namespace Marl::Tests
