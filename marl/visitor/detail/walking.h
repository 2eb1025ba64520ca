// What visits share: how a child is evaluated, and how values come off the stack.
//
// Visits recurse, so no frame below another visit holds a Value: 10,000 levels evaluate on a stack of 8 MiB,
// also under the address sanitizer and without optimization. Children are walked first; then a function of
// its own finishes on the stack.
#pragma once

#include <marl/ast/detail/located.h>
#include <marl/ast/detail/operations.h>
#include <marl/value/detail/failures.h>
#include <marl/visitor/calculation_visitor.h>

#include <utility>

namespace Marl {

// One level of nesting, for as long as it lives. A visit with children begins with one.
class CalculationVisitor::Level {
public:
    Level(CalculationVisitor& owner, ExpressionAST* node) : evaluator(owner)
    {
        if (evaluator.depth >= evaluator.unwatchedLevels)
            evaluator.enterWatched(node);
        ++evaluator.depth;
    }
    ~Level() { --evaluator.depth; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

private:
    CalculationVisitor& evaluator;
};

// What the child leaves on the stack is the node's result, be it nothing.
inline void CalculationVisitor::passOn(ExpressionAST* node, ExpressionAST* child)
{
    if (!child)
        at(node, failIncomplete);
    child->accept(this);
}

// Leaves one value of the node's child, be it undefined.
inline void CalculationVisitor::evaluate(ExpressionAST* node, ExpressionAST* child)
{
    const std::ptrdiff_t before = valueStack.height();
    passOn(node, child);
    if (valueStack.height() != before + ValueStack::valueHeight)
        settle(node, before);
}

inline Value CalculationVisitor::takeValue()
{
    Value value = std::move(valueStack.top());
    valueStack.pop();
    return value;
}

} // namespace Marl
