// Nodes without operands, and references, which stand for another property's expression.
#include <marl/visitor/detail/walking.h>

#include <marl/ast/program.h>
#include <marl/value/detail/footprint.h>

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
        at(node, [] { fail("Object reference has no parser."); });
    valueStack.push(node->parser->findObject(node->objectName));
}

void CalculationVisitor::visitRuntimeValueAST(RuntimeValueAST* node)
{
    if (!node->parser)
        at(node, [] { fail("Runtime value has no parser."); });
    valueStack.push(RuntimeValue{node->parser->findObject(node->objectName), node->propertyName});
}

// The value gets text of its own, so that later changes of the node do not reach it.
void CalculationVisitor::visitStringExpression(StringExpressionAST* node)
{
    at(node, [&] { node->load(); });
    takeMemory(node, textBytes(node->text));
    Value value(node->text.clone());
    value.setScenePath(node->scenePath.clone());
    valueStack.push(std::move(value));
}

class CalculationVisitor::ActiveReference {
public:
    ActiveReference(CalculationVisitor& owner, PropertyReferenceAST* node) : evaluator(owner)
    {
        at(node, [&] { evaluator.activeProperties.enter(node->property); });
    }
    ~ActiveReference() { evaluator.activeProperties.leave(); }
    ActiveReference(const ActiveReference&) = delete;
    ActiveReference& operator=(const ActiveReference&) = delete;

private:
    CalculationVisitor& evaluator;
};

void CalculationVisitor::visitPropertyReferenceAST(PropertyReferenceAST* node)
{
    const Level level(*this, node);
    if (!node->property)
        at(node, failUnbound);
    const ActiveReference active(*this, node);
    passOn(node, node->property->expression);
}

} // namespace Marl
