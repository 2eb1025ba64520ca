// Vectors, colors, matrices and transforms built from their parts.
#include <marl/visitor/detail/operands.h>

#include <marl/ast/detail/operations.h>
#include <marl/value/detail/precision.h>

namespace Marl {

void CalculationVisitor::visitVectorExpression(VectorExpressionAST* node)
{
    vector(node, levelOfVisit());
}

// False for a literal of no known kind, which has no value.
bool CalculationVisitor::vector(VectorExpressionAST* node, int level)
{
    const auto type = ValueType(node->valueType);
    if (type != ValueType::Vector && type != ValueType::Color)
        return false;
    const int inside = enter(level);
    const bool isVector = type == ValueType::Vector;
    const char* complaint = isVector ? Complaint::vector : Complaint::color;
    const double x = numberOrLeave(node->components[0], inside, complaint);
    const double y = numberOrLeave(node->components[1], inside, complaint);
    const double z = numberOrLeave(node->components[2], inside, complaint);
    if (isVector)
        valueStack.push(TracePoint{x, y, z});
    else
        valueStack.push(Color{single(x), single(y), single(z)});
    return true;
}

void CalculationVisitor::visitAColorExpression(AColorExpressionAST* node)
{
    const int inside = enter(levelOfVisit());
    float components[4];
    for (int i = 0; i < 4; ++i)
        components[i] = single(numberOrLeave(node->components[i], inside, Complaint::acolor));
    valueStack.push(AColor{components[0], components[1], components[2], components[3]});
}

void CalculationVisitor::takeVectorInto(Vector& column)
{
    column = takeVector();
}

void CalculationVisitor::visitMatrixExpression(MatrixExpressionAST* node)
{
    const int inside = enter(levelOfVisit());
    Matrix matrix;
    for (int k = 0; k < 3; ++k) {
        evaluate(node->columns[k], inside);
        takeVectorInto(matrix.columns[k]);
    }
    valueStack.push(matrix);
}

// The matrix waits aside, where no frame grows by it.
void CalculationVisitor::visitTransformExpression(TransformExpressionAST* node)
{
    const int inside = enter(levelOfVisit());
    evaluate(node->matrix, inside);
    const HeldValue matrix(*this);
    evaluate(node->offset, inside);
    replaceTopByTransform();
}

void CalculationVisitor::replaceTopByTransform()
{
    valueStack.top() = TraceTransform{heldValues->top().getMatrix(), valueStack.top().getTracePoint()};
}

void CalculationVisitor::visitTransformHexExpression(TransformHexExpressionAST* node)
{
    valueStack.push(node->readFromSource());
}

} // namespace Marl
