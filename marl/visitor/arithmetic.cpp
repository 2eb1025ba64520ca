// Operators on values that lie on the stack.
#include <marl/visitor/detail/operands.h>

#include <marl/ast/detail/operations.h>
#include <marl/value/detail/operators.h>

namespace Marl {

// The right operand is a number or lies on the stack; the left one lies there, below it. Both leave the
// stack, also when the operator throws.
MaybeNumber CalculationVisitor::combineTopWith(MaybeNumber right, TOKENTYPE op)
{
    pushNumber(right);
    try {
        operate(op, valueStack.below(), valueStack.top());
    } catch (...) {
        valueStack.pop();
        valueStack.pop();
        throw;
    }
    valueStack.pop();
    return takeIfNumber();
}

Value CalculationVisitor::doOp(TOKENTYPE op, const Value& left, const Value& right)
{
    Value result(left);
    operate(op, result, right);
    return result;
}

Value CalculationVisitor::doSum(const Value& left, const Value& right)
{
    return doOp(TOKEN_PLUS, left, right);
}

Value CalculationVisitor::doSubraction(const Value& left, const Value& right)
{
    return doOp(TOKEN_MINUS, left, right);
}

Value CalculationVisitor::doMultiply(const Value& left, const Value& right)
{
    return doOp(TOKEN_MULTIPLY, left, right);
}

Value CalculationVisitor::doDivision(const Value& left, const Value& right)
{
    return doOp(TOKEN_DIVIDE, left, right);
}

void CalculationVisitor::visitNegatedExpression(NegatedExpressionAST* node)
{
    pushNumber(negated(node, levelOfVisit()));
}

MaybeNumber CalculationVisitor::negated(NegatedExpressionAST* node, int level)
{
    const auto [number, isThere] = operand(node->operand, enter(level));
    if (isThere)
        return just(negative(number));
    changeSign(valueStack.top());
    return {};
}

void CalculationVisitor::negate(Value& value)
{
    changeSign(value);
}

} // namespace Marl
