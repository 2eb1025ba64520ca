// Every failure of an evaluation: its message, and what it leaves on the evaluator's stack.
#include <tests/support/fake_stream.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>

#include <gtest/gtest.h>

#include <cmath>

namespace Marl::Tests {
namespace {

// What lies below everything that a row does.
constexpr const char* untouched = "77";

struct Failing {
    const char* name;
    ExpressionAST* expression;
    const char* message;
    const char* top;        // of the stack afterwards
    const char* trail = ""; // the traced nodes that were evaluated
};

void expectFailures(Tree& t, std::initializer_list<Failing> rows)
{
    for (const Failing& row : rows) {
        CalculationVisitor evaluator;
        t.node(77)->accept(&evaluator);
        t.trail.clear();
        EXPECT_EQ(messageOf([&] { row.expression->accept(&evaluator); }), row.message) << row.name;
        EXPECT_EQ(shown(evaluator.getResult()), row.top) << row.name;
        EXPECT_EQ(t.trail, row.trail) << row.name;
        t.sum(1, 2)->accept(&evaluator);
        EXPECT_EQ(shown(evaluator.getResult()), "3") << row.name << ", the evaluator stays usable";
    }
}

const Value undefined;
const TracePoint vector{1, 2, 3};

// clang-format off
TEST(Failures, OfOperators)
{
    Tree t;
    expectFailures(t, {
        {"sum", t.sum(1, vector), "Unable to sum.", untouched},
        {"difference", t.difference(Color(), Color()), "Unable to subtract.", untouched},
        {"product", t.product(Matrix(1), vector), "Unable to multiply.", untouched},
        {"quotient", t.quotient(1, vector), "Unable to divide.", untouched},
        {"left operand", t.sum(t.failing(), t.traced('r', 1)), "Failed on purpose.", untouched},
        {"right operand", t.sum(t.traced('l', 5), t.failing()), "Failed on purpose.", "5", "l"},
        {"right operand of a chain", t.sum(t.sum(t.sum(1, 2), t.failing()), 4), "Failed on purpose.", "3"},
        {"no left operand", t.sum(nullptr, t.traced('r', 1)), "Expression is incomplete.", untouched},
        {"negated", t.negated(t.failing()), "Failed on purpose.", untouched},
        {"an operand without value", t.negated(t.vec(1, 2, 3, ValueType::Matrix)), "Expression is incomplete.", untouched},
    });
}

TEST(Failures, OfLiterals)
{
    Tree t;
    const auto traced = [&] { return t.traced('x', 1); };
    expectFailures(t, {
        {"vector", t.vec(1, undefined, traced()), "Vector expected to contain numbers only", "undefined"},
        {"color", t.rgb(1, 2, undefined), "Color expected to contain numbers only", "undefined"},
        {"alpha color", t.rgba(1, undefined, traced(), traced()), "AColor expected to contain numbers only", "undefined"},
        {"vector's component", t.vec(traced(), t.failing(), traced()), "Failed on purpose.", untouched, "x"},
        {"column", t.mat(traced(), t.failing(), traced()), "Failed on purpose.", untouched, "x"},
        {"offset", t.xform(Matrix(1), t.failing()), "Failed on purpose.", untouched},
        {"item", t.list({traced(), t.failing(), traced()}), "Failed on purpose.", untouched, "x"},
        {"no item", t.list({1, nullptr}), "Expression is incomplete.", untouched},
    });
}

TEST(Failures, OfIndexing)
{
    Tree t;
    const auto list = [&] { return t.traced('t', t.list({10, 20})); };
    const auto index = [&](const Operand& i) { return t.traced('i', i); };
    expectFailures(t, {
        {"no number", t.element(list(), {index(undefined), index(0)}), "Array indexer expected to evaluate to a number.", untouched, "i"},
        {"no index", t.element(list(), {nullptr}), "Expression is incomplete.", untouched},
        {"no target", t.element(nullptr, {index(0)}), "Expression is incomplete.", untouched, "i"},
        {"behind the end", t.element(list(), {index(2)}), "Array index is out of range.", untouched, "it"},
        {"below zero", t.element(list(), {index(-1)}), "Array index is out of range.", untouched, "it"},
        {"not a number", t.element(list(), {std::nan("")}), "Array index is out of range.", untouched, "t"},
        {"a number's element", t.element(1, {0}), "Expression cannot be indexed.", untouched},
        {"an element that fails", t.element(t.list({t.failing()}), {0}), "Failed on purpose.", untouched},
    });
}

TEST(Failures, OfInterpolation)
{
    Tree t;
    const auto time = [&](const Operand& at) { return t.traced('t', at); };
    const auto value = [&](const Operand& what) { return t.traced('v', what); };
    expectFailures(t, {
        {"no keys", t.keys({}), "Interpolate expression has no keys.", untouched},
        {"time", t.keys({{time(-5), value(1)}, {time(undefined), 2}, {time(5), 3}}),
         "Keys in interpolate expression must be numbers.", "undefined", "tt"},
        {"time that fails", t.keys({{time(-5), value(1)}, {t.failing(), 2}}), "Failed on purpose.", untouched, "t"},
        {"no time", t.keys({{nullptr, value(1)}}), "Expression is incomplete.", untouched},
        {"earlier value", t.keys({{-5, t.failing()}, {5, value(2)}}), "Failed on purpose.", untouched},
        {"later value", t.keys({{-5, value(1)}, {5, t.failing()}}), "Failed on purpose.", untouched, "v"},
        {"sum of the blend", t.keys({{-5, 1}, {5, vector}}), "Unable to sum.", untouched},
    });
}

TEST(Failures, OfBuiltins)
{
    Tree t;
    using enum Builtin;
    const auto traced = [&] { return t.traced('a', 3); };
    const char* lacking = "Built-in function lacks an argument.";
    expectFailures(t, {
        {"sqr", t.call(Sqr, {undefined}), "Function argument for sqr() expected to evaluate to a number.", untouched},
        {"sqrt", t.call(Sqrt, {undefined}), "Function argument for sqrt() expected to evaluate to a number.", untouched},
        {"sin", t.call(Sin, {undefined}), "Function argument for sin() expected to evaluate to a number.", untouched},
        {"cos", t.call(Cos, {undefined}), "Function argument for cos() expected to evaluate to a number.", untouched},
        {"pow a", t.call(Pow, {undefined, 2}), "First function argument for pow() expected to evaluate to a number.", untouched},
        {"pow b", t.call(Pow, {3, undefined}), "Second function argument for pow() expected to evaluate to a number.", "3"},
        {"pow both", t.call(Pow, {undefined, undefined}), "Second function argument for pow() expected to evaluate to a number.", "undefined"},
        {"uniform a", t.call(Uniform, {undefined, 2}), "First function argument for uniform() expected to evaluate to a number.", untouched},
        {"uniform b", t.call(Uniform, {3, undefined}), "Second function argument for uniform() expected to evaluate to a number.", "3"},
        {"first argument", t.call(Cross, {t.failing(), traced()}), "Failed on purpose.", untouched},
        {"second argument", t.call(Cross, {traced(), t.failing()}), "Failed on purpose.", "3", "a"},
        {"no argument", t.call(Noise), lacking, untouched},
        {"one of two", t.call(Pow, {traced()}), lacking, untouched},
        {"the first of two", t.call(Uniform, {nullptr, traced()}), lacking, untouched},
    });
}

TEST(Failures, OfReferencesAndSources)
{
    Tree t;
    SourceOwner owner;
    FakeStream stream("0123 x");
    PropertyAST* self = t.property(0);
    self->expression = t.sum(1, t.reference(self));
    PropertyAST* ping = t.property(0);
    PropertyAST* pong = t.property(t.negated(t.reference(ping)));
    ping->expression = t.list({1, t.reference(pong)});
    PropertyAST* mirror = t.property(0);
    mirror->expression = t.reference(mirror);
    auto* text = placed(t.program.make<StringExpressionAST>(), owner, stream, 0, 4);
    text->stream = nullptr;
    expectFailures(t, {
        {"unbound", t.reference("a", "b"), "Property reference is not bound.", untouched},
        {"unbound and indexed", t.element(t.reference("a", "b"), {0}), "Property reference is not bound.", untouched},
        {"no expression", t.reference(t.property(nullptr)), "Expression is incomplete.", untouched},
        {"the property's own failure", t.reference(t.property(t.sum(9, t.failing()))), "Failed on purpose.", "9"},
        {"itself", t.reference(self), "Property references form a cycle.", "1"},
        {"each other", t.reference(pong), "Property references form a cycle.", untouched},
        {"itself, indexed", t.element(t.reference(mirror), {0}), "Property references form a cycle.", untouched},
        {"object", t.program.make<ObjectReferenceAST>(), "Object reference has no parser.", untouched},
        {"runtime value", t.program.make<RuntimeValueAST>(), "Runtime value has no parser.", untouched},
        {"typed list", placed(t.program.make<ListTypeExpressionAST<int>>(), owner, stream, 3, 3),
         "Expected an integer at byte 5 of the source.", untouched},
        {"transform in digits", placed(t.program.make<TransformHexExpressionAST>(), owner, stream, 0, 4),
         "Expected 120 hexadecimal digits at byte 4 of the source.", untouched},
        {"owner without stream", text, "Expression is incomplete.", untouched},
    });
}
// clang-format on

// What a failure drops must be let go; what it leaves must be kept alive.
TEST(Failures, ReleaseWhatTheyDoNotLeave)
{
    Tree t;
    auto* held = static_cast<ListTypeExpressionAST<int>*>(t.node(sampleOf('i')));
    const struct {
        const char* name;
        ExpressionAST* expression;
        int references; // of the list, the node's own included
    } rows[] = {
        {"operands of a failed sum", t.difference(held, held), 1},
        {"left operand of one that fails", t.sum(held, t.failing()), 2},
        {"items", t.list({held, held, t.failing()}), 1},
        {"the earlier key's value", t.keys({{-1, held}, {1, t.failing()}}), 1},
        {"first argument", t.call(Builtin::Pow, {held, undefined}), 2},
    };
    for (const auto& row : rows) {
        {
            CalculationVisitor evaluator;
            EXPECT_NE(messageOf([&] { row.expression->accept(&evaluator); }), "no failure") << row.name;
            EXPECT_EQ(held->values.shared->refCount, row.references) << row.name;
        }
        EXPECT_EQ(held->values.shared->refCount, 1) << row.name << ", after the evaluator";
    }
}

} // namespace
} // namespace Marl::Tests
