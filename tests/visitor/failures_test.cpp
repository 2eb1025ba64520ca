// Every failure of an evaluation: its message, and what it leaves on the evaluator's stack.
#include <tests/support/fake_stream.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

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

const Value undefined;
const TracePoint vector{1, 2, 3};

TEST(Failures, SayWhyAndLeaveWhatIsToBeLeft)
{
    using enum Builtin;
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
    const auto list = [&] { return t.traced('t', t.list({10, 20})); };
    const char* const incomplete = "Expression is incomplete.";
    const char* const onPurpose = "Failed on purpose.";
    const char* const outside = "Array index is out of range.";
    const char* const lacking = "Built-in function lacks an argument.";
    const char* const cycle = "Property references form a cycle.";
    // clang-format off
    const Failing rows[] = {
        // operators
        {"sum", t.sum(1, vector), "Unable to sum.", untouched},
        {"difference", t.difference(Color(), Color()), "Unable to subtract.", untouched},
        {"product", t.product(Matrix(1), vector), "Unable to multiply.", untouched},
        {"quotient", t.quotient(1, vector), "Unable to divide.", untouched},
        {"left operand", t.sum(t.failing(), t.traced('r', 1)), onPurpose, untouched},
        {"right operand", t.sum(t.traced('l', 5), t.failing()), onPurpose, "5", "l"},
        {"right operand of a chain", t.sum(t.sum(t.sum(1, 2), t.failing()), 4), onPurpose, "3"},
        {"no left operand", t.sum(nullptr, t.traced('r', 1)), incomplete, untouched},
        {"negated", t.negated(t.failing()), onPurpose, untouched},
        {"an operand without value", t.negated(t.vec(1, 2, 3, ValueType::Matrix)), incomplete, untouched},
        // literals and lists
        {"vector", t.vec(1, undefined, t.traced('x', 1)), "Vector expected to contain numbers only", "undefined"},
        {"color", t.rgb(1, 2, undefined), "Color expected to contain numbers only", "undefined"},
        {"alpha color", t.rgba(1, undefined, t.traced('x', 1), t.traced('x', 1)), "AColor expected to contain numbers only", "undefined"},
        {"vector's component", t.vec(t.traced('x', 1), t.failing(), t.traced('x', 1)), onPurpose, untouched, "x"},
        {"column", t.mat(t.traced('x', 1), t.failing(), t.traced('x', 1)), onPurpose, untouched, "x"},
        {"offset", t.xform(Matrix(1), t.failing()), onPurpose, untouched},
        {"item", t.list({t.traced('x', 1), t.failing(), t.traced('x', 1)}), onPurpose, untouched, "x"},
        {"no item", t.list({1, nullptr}), incomplete, untouched},
        // indexing
        {"no number", t.element(list(), {t.traced('i', undefined), t.traced('i', 0)}), "Array indexer expected to evaluate to a number.", untouched, "i"},
        {"no index", t.element(list(), {nullptr}), incomplete, untouched},
        {"no target", t.element(nullptr, {t.traced('i', 0)}), incomplete, untouched, "i"},
        {"behind the end", t.element(list(), {t.traced('i', 2)}), outside, untouched, "it"},
        {"below zero", t.element(list(), {t.traced('i', -1)}), outside, untouched, "it"},
        {"not a number", t.element(list(), {std::nan("")}), outside, untouched, "t"},
        {"a number's element", t.element(1, {0}), "Expression cannot be indexed.", untouched},
        {"an element that fails", t.element(t.list({t.failing()}), {0}), onPurpose, untouched},
        // interpolation
        {"no keys", t.keys({}), "Interpolate expression has no keys.", untouched},
        {"time", t.keys({{t.traced('t', -5), t.traced('v', 1)}, {t.traced('t', undefined), 2}, {t.traced('t', 5), 3}}),
         "Keys in interpolate expression must be numbers.", "undefined", "tt"},
        {"time that fails", t.keys({{t.traced('t', -5), t.traced('v', 1)}, {t.failing(), 2}}), onPurpose, untouched, "t"},
        {"no time", t.keys({{nullptr, t.traced('v', 1)}}), incomplete, untouched},
        {"earlier value", t.keys({{-5, t.failing()}, {5, t.traced('v', 2)}}), onPurpose, untouched},
        {"later value", t.keys({{-5, t.traced('v', 1)}, {5, t.failing()}}), onPurpose, untouched, "v"},
        {"sum of the blend", t.keys({{-5, 1}, {5, vector}}), "Unable to sum.", untouched},
        // functions
        {"sqr", t.call(Sqr, {undefined}), "Function argument for sqr() expected to evaluate to a number.", untouched},
        {"sqrt", t.call(Sqrt, {undefined}), "Function argument for sqrt() expected to evaluate to a number.", untouched},
        {"sin", t.call(Sin, {undefined}), "Function argument for sin() expected to evaluate to a number.", untouched},
        {"cos", t.call(Cos, {undefined}), "Function argument for cos() expected to evaluate to a number.", untouched},
        {"pow a", t.call(Pow, {undefined, 2}), "First function argument for pow() expected to evaluate to a number.", untouched},
        {"pow b", t.call(Pow, {3, undefined}), "Second function argument for pow() expected to evaluate to a number.", "3"},
        {"pow both", t.call(Pow, {undefined, undefined}), "Second function argument for pow() expected to evaluate to a number.", "undefined"},
        {"uniform a", t.call(Uniform, {undefined, 2}), "First function argument for uniform() expected to evaluate to a number.", untouched},
        {"uniform b", t.call(Uniform, {3, undefined}), "Second function argument for uniform() expected to evaluate to a number.", "3"},
        {"first argument", t.call(Cross, {t.failing(), t.traced('a', 3)}), onPurpose, untouched},
        {"second argument", t.call(Cross, {t.traced('a', 3), t.failing()}), onPurpose, "3", "a"},
        {"no argument", t.call(Noise), lacking, untouched},
        {"one of two", t.call(Pow, {t.traced('a', 3)}), lacking, untouched},
        {"the first of two", t.call(Uniform, {nullptr, t.traced('a', 3)}), lacking, untouched},
        // references and sources
        {"unbound", t.reference("a", "b"), "Property reference is not bound.", untouched},
        {"unbound and indexed", t.element(t.reference("a", "b"), {0}), "Property reference is not bound.", untouched},
        {"no expression", t.reference(t.property(nullptr)), incomplete, untouched},
        {"the property's own failure", t.reference(t.property(t.sum(9, t.failing()))), onPurpose, "9"},
        {"itself", t.reference(self), cycle, "1"},
        {"each other", t.reference(pong), cycle, untouched},
        {"itself, indexed", t.element(t.reference(mirror), {0}), cycle, untouched},
        {"object", t.program.make<ObjectReferenceAST>(), "Object reference has no parser.", untouched},
        {"runtime value", t.program.make<RuntimeValueAST>(), "Runtime value has no parser.", untouched},
        {"typed list", placed(t.program.make<ListTypeExpressionAST<int>>(), owner, stream, 3, 3),
         "Expected an integer at byte 5 of the source.", untouched},
        {"transform in digits", placed(t.program.make<TransformHexExpressionAST>(), owner, stream, 0, 4),
         "Expected 120 hexadecimal digits at byte 4 of the source.", untouched},
        {"owner without stream", text, incomplete, untouched},
    };
    // clang-format on
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

TEST(Failures, NameTheInnermostNodeAndWhatItMet)
{
    Tree t;
    SourceOwner owner;
    FakeStream stream("0123 x");
    const auto read = [&](int offset) {
        return placed(t.program.make<ListTypeExpressionAST<int>>(), owner, stream, offset, 3);
    };
    PropertyAST* const other = t.property(t.sum(1, vector));
    DecorationVisitor pass;
    pass.setProperty(other);
    other->expression->accept(&pass);
    ExpressionAST* const wrong = t.product(Matrix(1), vector);
    ExpressionAST* const blended = t.keys({{-5, 1}, {5, vector}});
    ExpressionAST* const lacking = t.negated(nullptr);
    ExpressionAST* const valueless = t.negated(t.vec(1, 2, 3, ValueType::Matrix));
    ExpressionAST* const item = t.element(t.list({1, 2}), {7});
    ExpressionAST* const component = t.element(vector, {-1});
    ExpressionAST* const datum = t.element(read(0), {2});
    ExpressionAST* const function = t.call(Builtin::Sin, {undefined});
    ExpressionAST* const unbound = t.reference("a", "b");
    ExpressionAST* const unreadable = read(3);
    const struct {
        const char* name;
        ExpressionAST* expression;
        ExpressionAST* node;
        const char* rest = ""; // the kinds of the operands, the index and the count, the byte
        PropertyAST* property = nullptr;
    } rows[] = {
        {"operator", t.list({t.sum(1, wrong)}), wrong, " of MV"},
        {"blend", blended, blended, " of NV"},
        {"missing child", t.sum(lacking, 1), lacking},
        {"child without value", valueless, valueless},
        {"item", t.negated(item), item, " 7 of 2"},
        {"component", component, component, " -1 of 3"},
        {"datum", datum, datum, " 2 of 1"},
        {"function", t.vec(1, 2, function), function},
        {"unbound", t.element(unbound, {0}), unbound},
        {"source", t.list({unreadable}), unreadable, " byte 5"},
        {"another property", t.negated(t.reference(other)), other->expression, " of NV", other},
        {"a host that does not say", t.negated(t.failing()), nullptr},
    };
    for (const auto& row : rows) {
        CalculationVisitor evaluator;
        std::ostringstream expected;
        expected << "node " << row.node << " in " << row.property << row.rest;
        try {
            row.expression->accept(&evaluator);
            ADD_FAILURE() << row.name;
        } catch (const InvalidOpException& failure) {
            EXPECT_EQ(detailsOf(failure), expected.str()) << row.name;
        }
    }
}

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
