// Vectors, colors, matrices and transforms built from their parts.
#include <marl/visitor/detail/walking.h>

#include <marl/value/detail/precision.h>

namespace Marl {

// A literal of any other kind has no value, and its components are not evaluated.
void CalculationVisitor::visitVectorExpression(VectorExpressionAST* node)
{
    const auto type = ValueType(node->valueType);
    if (type != ValueType::Vector && type != ValueType::Color)
        return;
    const Level level(*this, node);
    double components[3];
    for (int i = 0; i < 3; ++i) {
        evaluate(node, node->components[i]);
        components[i] = takeNumberOrLeave(node, type == ValueType::Vector ? Complaint::vector : Complaint::color);
    }
    const auto& [x, y, z] = components;
    if (type == ValueType::Vector)
        valueStack.push(TracePoint{x, y, z});
    else
        valueStack.push(Color{single(x), single(y), single(z)});
}

void CalculationVisitor::visitAColorExpression(AColorExpressionAST* node)
{
    const Level level(*this, node);
    float components[4];
    for (int i = 0; i < 4; ++i) {
        evaluate(node, node->components[i]);
        components[i] = single(takeNumberOrLeave(node, Complaint::acolor));
    }
    const auto& [red, green, blue, alpha] = components;
    valueStack.push(AColor{red, green, blue, alpha});
}

void CalculationVisitor::visitMatrixExpression(MatrixExpressionAST* node)
{
    const Level level(*this, node);
    Matrix matrix;
    for (int k = 0; k < 3; ++k) {
        evaluate(node, node->columns[k]);
        matrix.columns[k] = narrowed(takePoint());
    }
    valueStack.push(matrix);
}

void CalculationVisitor::visitTransformExpression(TransformExpressionAST* node)
{
    const Level level(*this, node);
    TraceTransform transform;
    evaluate(node, node->matrix);
    transform.matrix = takeMatrix();
    evaluate(node, node->offset);
    transform.offset = takePoint();
    valueStack.push(transform);
}

void CalculationVisitor::visitTransformHexExpression(TransformHexExpressionAST* node)
{
    valueStack.push(at(node, [&] { return node->readFromSource(); }));
}

} // namespace Marl
