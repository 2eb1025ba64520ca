// The ways in which one node can lie in another.
#pragma once

#include <tests/support/host_function.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <functional>

namespace Marl::Tests {

// One more level around a node.
struct Wrapping {
    const char* name;
    std::function<ExpressionAST*(Tree&, ExpressionAST*)> around;
};

// clang-format off
inline const Wrapping wrappings[] = {
    {"left operand", [](Tree& t, ExpressionAST* inner) { return t.product(inner, 1); }},
    {"right operand", [](Tree& t, ExpressionAST* inner) { return t.product(1, inner); }},
    {"negated", [](Tree& t, ExpressionAST* inner) { return t.negated(inner); }},
    {"list item", [](Tree& t, ExpressionAST* inner) { return t.list({inner}); }},
    {"vector component", [](Tree& t, ExpressionAST* inner) { return t.vec(1, inner, 1); }},
    {"column", [](Tree& t, ExpressionAST* inner) { return t.mat(1, 1, inner); }},
    {"offset", [](Tree& t, ExpressionAST* inner) { return t.xform(1, inner); }},
    {"only value", [](Tree& t, ExpressionAST* inner) { return t.keys({{0, inner}}); }},
    {"earlier value", [](Tree& t, ExpressionAST* inner) { return t.keys({{-1, inner}, {1, 1}}); }},
    {"later value", [](Tree& t, ExpressionAST* inner) { return t.keys({{-1, 1}, {1, inner}}); }},
    {"time", [](Tree& t, ExpressionAST* inner) { return t.keys({{inner, 1}}); }},
    {"argument", [](Tree& t, ExpressionAST* inner) { return t.call(Builtin::Sqr, {inner}); }},
    {"second argument", [](Tree& t, ExpressionAST* inner) { return t.call(Builtin::Pow, {1, inner}); }},
    {"index", [](Tree& t, ExpressionAST* inner) { return t.element(listOf({0, 0}), {inner}); }},
    {"argument of a host's function", [](Tree& t, ExpressionAST* inner) {
         auto* function = t.program.make<HostFunction>();
         function->rule = [](std::span<const Value> values, const Moment&) { return values[1]; };
         function->arguments = {t.node(1), inner};
         return function;
     }},
    {"target", [](Tree& t, ExpressionAST* inner) { return t.element(inner, {}); }},
};
// The pass walks the list as well, and does not follow references.
inline const Wrapping wrappingsOfTheEvaluator[] = {
    {"element", [](Tree& t, ExpressionAST* inner) { return t.element(t.list({inner}), {0}); }},
    {"reference", [](Tree& t, ExpressionAST* inner) { return t.reference(t.property(inner)); }},
};
// clang-format on

inline ExpressionAST* nested(Tree& t, const Wrapping& wrapping, int levels, ExpressionAST* innermost)
{
    for (int i = 0; i < levels; ++i)
        innermost = wrapping.around(t, innermost);
    return innermost;
}

} // namespace Marl::Tests
