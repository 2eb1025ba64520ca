// What hosts derive: nodes that try one child and then another, and evaluators that override visits.
#include <tests/support/host_node.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>

#include <gtest/gtest.h>

#include <functional>

namespace Marl::Tests {
namespace {

// Counts what it sees of a tree's leaves and references.
class Observer final : public CalculationVisitor {
public:
    void visitNumberExpression(NumberExpressionAST* node) override
    {
        ++numbers;
        CalculationVisitor::visitNumberExpression(node);
    }
    void visitBuiltinFunction(BuiltinFunctionAST* node) override
    {
        ++calls;
        CalculationVisitor::visitBuiltinFunction(node);
    }
    void visitPropertyReferenceAST(PropertyReferenceAST* node) override
    {
        ++references;
        if (standIn)
            standIn->accept(this);
        else
            CalculationVisitor::visitPropertyReferenceAST(node);
    }

    int numbers = 0, calls = 0, references = 0;
    ExpressionAST* standIn = nullptr; // for what is referred to
};

// The value of the first expression, or of the second one where that fails.
ExpressionAST* fallback(Tree& t, const Operand& first, const Operand& second)
{
    auto* made = t.program.make<HostNode>();
    made->script = [first = t.node(first), second = t.node(second)](Visitor& visitor) {
        try {
            first->accept(&visitor);
        } catch (const InvalidOpException&) {
            second->accept(&visitor);
        }
    };
    return made;
}

TEST(HostNodes, MayTryAnotherChildWhereOneFails)
{
    Tree t;
    ExpressionAST* const unbound = t.reference("lamp", "power");
    auto* held = static_cast<ListTypeExpressionAST<int>*>(t.node(sampleOf('i')));
    const Operand vector = TracePoint{1, 2, 3};
    const auto two = [&] { return fallback(t, t.sum(vector, unbound), 2); };
    const struct {
        ExpressionAST* expression;
        const char* result;
    } rows[] = {
        {t.product(10, two()), "20"},
        {t.difference(two(), 10), "-8"},
        {t.difference(10, fallback(t, t.sum(5, unbound), 3)), "7"},
        {t.product(10, fallback(t, t.sum(1, t.list({fallback(t, t.sum(vector, unbound), unbound)})), 2)), "20"},
        {t.sum(two(), fallback(t, t.call(Builtin::Pow, {vector, t.sum(vector, unbound)}), 3)), "5"},
        {t.list({two(), fallback(t, t.sum(held, unbound), 3)}), "[2, 3]"},
        {t.vec(two(), fallback(t, t.vec(1, 2, Value()), 7), two()), "vec(2 7 2)"},
        {t.mat(fallback(t, t.sum(1, unbound), vector), vector, vector), "mat(1 2 3, 1 2 3, 1 2 3)"},
        {t.call(Builtin::Pow, {two(), fallback(t, t.sum(vector, unbound), 3)}), "8"},
        {t.negated(two()), "-2"},
        {t.keys({{fallback(t, t.sum(vector, unbound), -1), two()}, {1, fallback(t, t.sum(held, unbound), 4)}}), "3"},
        {t.sum(t.reference(t.property(two())), 1), "3"},
        {t.element(t.list({1, 5, 9}), {two()}), "9"},
    };
    for (const auto& [expression, result] : rows) {
        CalculationVisitor evaluator;
        Observer observer;
        t.node(77)->accept(&evaluator);
        for (int round = 0; round < 2; ++round) {
            expression->accept(&evaluator);
            EXPECT_EQ(shown(evaluator.getResult()), result) << "round " << round;
            expression->accept(&observer);
            EXPECT_EQ(shown(observer.getResult()), result) << "round " << round << ", derived";
        }
        EXPECT_EQ(held->values.shared->refCount, 1) << result;
    }
}

TEST(DerivedEvaluators, SeeEveryVisit)
{
    const struct {
        const char* name;
        std::function<ExpressionAST*(Tree&)> expression;
        int numbers, calls, references;
        const char* result;
    } rows[] = {
        {"operands", [](Tree& t) { return t.sum(t.negated(1), t.call(Builtin::Sqr, {t.call(Builtin::Time)})); }, 1, 2,
         0, "-1"},
        {"elements",
         [](Tree& t) {
             return t.element(t.list({6, t.vec(1, 2, 3)}), {1, 2});
         },
         3, 0, 0, "3"},
        {"known times",
         [](Tree& t) {
             return t.sortedKeys({{-1, 1}, {1, 2}, {9, 3}});
         },
         5, 0, 0, "1.5"},
        {"a known time that is computed",
         [](Tree& t) {
             return t.sortedKeys({{t.negated(1), t.call(Builtin::Time)}, {1, 2}});
         },
         3, 1, 0, "1"},
        {"a known time that is referred to",
         [](Tree& t) {
             return t.sortedKeys({{-1, 1}, {t.reference(t.property(1)), 2}});
         },
         4, 0, 1, "1.5"},
    };
    for (const auto& row : rows) {
        Tree t;
        Observer observer;
        row.expression(t)->accept(&observer);
        EXPECT_EQ(shown(observer.getResult()), row.result) << row.name;
        EXPECT_EQ(observer.numbers, row.numbers) << row.name;
        EXPECT_EQ(observer.calls, row.calls) << row.name;
        EXPECT_EQ(observer.references, row.references) << row.name;
    }
    Tree t;
    Observer observer;
    observer.standIn = t.node(3); // in place of the time 1
    t.sortedKeys({{-1, 0}, {t.reference(t.property(1)), 4}})->accept(&observer);
    EXPECT_EQ(shown(observer.getResult()), "1");
}

} // namespace
} // namespace Marl::Tests
