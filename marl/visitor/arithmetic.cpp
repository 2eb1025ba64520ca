// The operators: their visits, and what hosts call.
#include <marl/visitor/detail/walking.h>

namespace Marl {

void CalculationVisitor::visitBinaryExpression(BinaryExpressionAST* node)
{
    const Level level(*this, node);
    evaluate(node, node->left);
    evaluate(node, node->right);
    combineTopTwo(node);
}

// Both operands leave the stack, also when the operator throws.
void CalculationVisitor::combineTopTwo(BinaryExpressionAST* node)
{
    try {
        at(node, [&] { operate(node->op, valueStack.below(), valueStack.top()); });
    } catch (...) {
        valueStack.pop();
        valueStack.pop();
        throw;
    }
    valueStack.pop();
}

void CalculationVisitor::visitNegatedExpression(NegatedExpressionAST* node)
{
    const Level level(*this, node);
    evaluate(node, node->operand);
    changeSign(valueStack.top());
}

Value CalculationVisitor::doOp(TOKENTYPE op, const Value& left, const Value& right)
{
    Value result(left);
    operate(op, result, right);
    return result;
}

// clang-format off
Value CalculationVisitor::doSum(const Value& left, const Value& right)        { return doOp(TOKEN_PLUS, left, right); }
Value CalculationVisitor::doSubraction(const Value& left, const Value& right) { return doOp(TOKEN_MINUS, left, right); }
Value CalculationVisitor::doMultiply(const Value& left, const Value& right)   { return doOp(TOKEN_MULTIPLY, left, right); }
Value CalculationVisitor::doDivision(const Value& left, const Value& right)   { return doOp(TOKEN_DIVIDE, left, right); }
void CalculationVisitor::negate(Value& value)                                 { changeSign(value); }
// clang-format on

} // namespace Marl
