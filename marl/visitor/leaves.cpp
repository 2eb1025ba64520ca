// Nodes without operands, and references, which stand for another property's expression.
#include <marl/visitor/detail/operands.h>

#include <marl/ast/program.h>

namespace Marl {

void CalculationVisitor::visitNumberExpression(NumberExpressionAST* node)
{
    valueStack.push(node->number);
}

void CalculationVisitor::visitObjectIDExpression(ObjectIDExpressionAST* node)
{
    valueStack.push(node->objectID);
}

void CalculationVisitor::visitObjectReference(ObjectReferenceAST* node)
{
    if (!node->parser)
        fail("Object reference has no parser.");
    valueStack.push(node->parser->findObject(node->objectName));
}

void CalculationVisitor::visitRuntimeValueAST(RuntimeValueAST* node)
{
    if (!node->parser)
        fail("Runtime value has no parser.");
    valueStack.push(RuntimeValue{node->parser->findObject(node->objectName), node->propertyName});
}

// The value gets text of its own, so that later changes of the node do not reach it.
void CalculationVisitor::visitStringExpression(StringExpressionAST* node)
{
    node->load();
    Value value(node->text.clone());
    value.setScenePath(node->scenePath.clone());
    valueStack.push(std::move(value));
}

void CalculationVisitor::visitPropertyReferenceAST(PropertyReferenceAST* node)
{
    const int inside = enter(levelOfVisit());
    if (!node->property)
        failUnbound();
    const ActiveReference active(*this, node->property);
    passOn(node->property->expression, inside);
}

// Of the frequent nodes the operation is called at once, which saves two virtual calls and
// the way over the stack.
MaybeNumber CalculationVisitor::walkOther(FrequentNode shortcut, ExpressionAST* node, int level)
{
    switch (shortcut) {
    case FrequentNode::Builtin: return call(static_cast<BuiltinFunctionAST*>(node), level);
    case FrequentNode::Negated: return negated(static_cast<NegatedExpressionAST*>(node), level);
    case FrequentNode::Vector: return vectorOperand(static_cast<VectorExpressionAST*>(node), level);
    default: return visited(node, level);
    }
}

// An operand must leave a value: a literal of no known kind and a host's node that forgets to
// are incomplete.
MaybeNumber CalculationVisitor::visited(ExpressionAST* node, int level)
{
    const Value* before = valueStack.mark();
    passOn(node, level);
    if (valueStack.mark() == before)
        failIncomplete();
    return takeIfNumber();
}

} // namespace Marl
