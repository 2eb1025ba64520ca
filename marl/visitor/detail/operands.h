// How visits evaluate their operands, and what they hold meanwhile.
//
// Numbers do not travel over the stack where nobody could see them there: an operand that
// comes to a number hands it back, and only other values lie on the stack. An operand's
// number is pushed before anything else is evaluated, for a host's node may look at the
// stack, and a failure leaves it there.
//
// Visits recurse, so their frames are kept small: no frame that lies below another visit
// holds a value. Children are walked first; then a function of its own finishes on the stack.
#pragma once

#include <marl/ast/detail/operations.h>
#include <marl/value/detail/failures.h>
#include <marl/visitor/calculation_visitor.h>

#include <typeinfo>
#include <utility>

namespace Marl {

// Tells the visits behind a node's accept() how many levels lie around the node.
class CalculationVisitor::Surroundings {
public:
    [[gnu::always_inline]] Surroundings(CalculationVisitor& owner, int level) : evaluator(owner), outer(owner.depth)
    {
        evaluator.depth = level;
    }
    [[gnu::always_inline]] ~Surroundings() { evaluator.depth = outer; }
    Surroundings(const Surroundings&) = delete;
    Surroundings& operator=(const Surroundings&) = delete;

private:
    CalculationVisitor& evaluator;
    int outer;
};

// Marks a property as being evaluated through a reference. The marks form a chain through
// the frames, so that a circle is found as soon as it closes and threads do not meet.
class CalculationVisitor::ActiveReference {
public:
    ActiveReference(CalculationVisitor& owner, const PropertyAST* entered)
        : evaluator(owner), property(entered), outer(owner.innermostReference)
    {
        for (const ActiveReference* active = outer; active; active = active->outer)
            if (active->property == entered)
                failCycle();
        evaluator.innermostReference = this;
    }
    ~ActiveReference() { evaluator.innermostReference = outer; }
    ActiveReference(const ActiveReference&) = delete;
    ActiveReference& operator=(const ActiveReference&) = delete;

private:
    CalculationVisitor& evaluator;
    const PropertyAST* property;
    ActiveReference* outer;
};

// Takes the top value off the stack and keeps it aside while another operand is evaluated.
class CalculationVisitor::HeldValue {
public:
    explicit HeldValue(CalculationVisitor& owner) : evaluator(owner)
    {
        if (!evaluator.heldValues) // few evaluations have any
            evaluator.heldValues.emplace();
        evaluator.heldValues->push(std::move(evaluator.valueStack.top()));
        evaluator.valueStack.pop();
    }
    ~HeldValue() { evaluator.heldValues->pop(); }
    HeldValue(const HeldValue&) = delete;
    HeldValue& operator=(const HeldValue&) = delete;

private:
    CalculationVisitor& evaluator;
};

inline bool isDouble(const Value& value)
{
    return value.getValueType() == static_cast<int>(ValueType::Double);
}

// What the evaluator may read without a visit. A derived evaluator may override visits, so of
// it that is nothing.
inline FrequentNode CalculationVisitor::shortcutTo(const ExpressionAST* node) const
{
    return node && shortcuts ? node->frequentNode() : FrequentNode::None;
}

// Of a node that is a built-in function.
inline bool isTime(const ExpressionAST* node)
{
    return static_cast<const BuiltinFunctionAST*>(node)->functionId == static_cast<int>(Builtin::Time);
}

// Where the number of a literal or of the time stands; null for any other node. Half of all
// operands are such leaves, and a visit costs more than their value.
inline const double* CalculationVisitor::leaf(const ExpressionAST* node) const
{
    const FrequentNode shortcut = shortcutTo(node);
    if (shortcut == FrequentNode::Number)
        return &static_cast<const NumberExpressionAST*>(node)->number;
    if (shortcut == FrequentNode::Builtin && isTime(node))
        return &timeParam;
    return nullptr;
}

// Of a literal of no known kind there is no value to go on with.
[[gnu::always_inline]] inline MaybeNumber CalculationVisitor::vectorOperand(VectorExpressionAST* node, int level)
{
    if (!vector(node, level))
        failIncomplete();
    return {};
}

[[gnu::always_inline]] inline MaybeNumber CalculationVisitor::walk(FrequentNode shortcut, ExpressionAST* node,
                                                                   int level)
{
    if (shortcut == FrequentNode::Binary)
        return binary(static_cast<BinaryExpressionAST*>(node), level);
    return walkOther(shortcut, node, level);
}

// The level of the node that accepts the evaluator.
inline int CalculationVisitor::levelOfVisit()
{
    shortcuts = typeid(*this) == typeid(CalculationVisitor);
    return depth;
}

// The level of a node's operands, given the level of the node.
inline int CalculationVisitor::enter(int level) const
{
    if (level >= depthLimit)
        failTooDeep();
    return level + 1;
}

// The operand's number; nothing when its value is of another kind and lies on the stack.
inline MaybeNumber CalculationVisitor::operand(ExpressionAST* node, int level)
{
    if (const double* number = leaf(node))
        return just(*number);
    return walk(shortcutTo(node), node, level);
}

// What the node leaves on the stack is the visit's result, be it nothing. Part of its caller in
// every build, for a frame of its own would count at every level.
[[gnu::always_inline]] inline void CalculationVisitor::passOn(ExpressionAST* node, int level)
{
    if (!node)
        failIncomplete();
    const Surroundings around(*this, level);
    node->accept(this);
}

// Leaves the operand's value on the stack, whatever it is.
[[gnu::always_inline]] inline void CalculationVisitor::evaluate(ExpressionAST* node, int level)
{
    pushNumber(operand(node, level));
}

[[gnu::always_inline]] inline void CalculationVisitor::pushNumber(MaybeNumber result)
{
    if (result.isThere)
        valueStack.push(result.number);
}

inline MaybeNumber CalculationVisitor::takeIfNumber()
{
    if (!isDouble(valueStack.top()))
        return {};
    const double number = valueStack.top().getDouble();
    valueStack.pop();
    return just(number);
}

// The operand's value, off the stack.
inline Value CalculationVisitor::taken(MaybeNumber operand)
{
    if (operand.isThere)
        return operand.number;
    Value value = std::move(valueStack.top());
    valueStack.pop();
    return value;
}

// The operand's number; what is refused is taken off the stack too.
inline double CalculationVisitor::numberOrTake(MaybeNumber operand, const char* complaint)
{
    return operand.isThere ? operand.number : takeNumber(complaint);
}

// The operand's number; what is refused stays on the stack.
inline double CalculationVisitor::numberOrLeave(ExpressionAST* node, int level, const char* complaint)
{
    const auto [operandsNumber, isThere] = operand(node, level);
    if (isThere)
        return operandsNumber;
    const double number = numberOrThrow(valueStack.top(), complaint);
    valueStack.pop();
    return number;
}

inline Vector CalculationVisitor::takeVector()
{
    const Vector vector = valueStack.top().getVector();
    valueStack.pop();
    return vector;
}

} // namespace Marl
