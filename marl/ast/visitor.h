// The interface of walks over expression trees: one operation a node class.
#pragma once

#include <marl/api.h>
#include <marl/ast/forward.h>

namespace Marl {

// A node's accept() calls the operation of its own class with itself. Nothing is freed
// through this interface.
class MARL_API Visitor {
public:
    virtual void visitBinaryExpression(BinaryExpressionAST* node) = 0;
    virtual void visitNumberExpression(NumberExpressionAST* node) = 0;
    virtual void visitBuiltinFunction(BuiltinFunctionAST* node) = 0;
    virtual void visitListExpression(ListExpressionAST* node) = 0;
    virtual void visitPropertyReferenceAST(PropertyReferenceAST* node) = 0;
    virtual void visitArrayExpressionAST(ArrayExpressionAST* node) = 0;
    virtual void visitInterpolateExpression(InterpolateExpressionAST* node) = 0;
    virtual void visitNegatedExpression(NegatedExpressionAST* node) = 0;
    virtual void visitVectorExpression(VectorExpressionAST* node) = 0;
    virtual void visitMatrixExpression(MatrixExpressionAST* node) = 0;
    virtual void visitAColorExpression(AColorExpressionAST* node) = 0;
    virtual void visitTransformExpression(TransformExpressionAST* node) = 0;
    virtual void visitTransformHexExpression(TransformHexExpressionAST* node) = 0;
    virtual void visitStringExpression(StringExpressionAST* node) = 0;
    virtual void visitObjectReference(ObjectReferenceAST* node) = 0;
    virtual void visitListVectorExpressionAST(ListTypeExpressionAST<Vector>* node) = 0;
    virtual void visitListIntExpressionAST(ListTypeExpressionAST<int>* node) = 0;
    virtual void visitListColorExpressionAST(ListTypeExpressionAST<Color>* node) = 0;
    virtual void visitListFloatExpressionAST(ListTypeExpressionAST<float>* node) = 0;
    virtual void visitListStringExpressionAST(ListTypeExpressionAST<CharString>* node) = 0;
    virtual void visitRuntimeValueAST(RuntimeValueAST* node) = 0;
    virtual void visitObjectIDExpression(ObjectIDExpressionAST* node) = 0;

    // A function of the host's. Unless overridden, each argument accepts the visitor.
    virtual void visitFunctionExpression(FunctionExpressionAST* node);

protected:
    ~Visitor() = default;
};

} // namespace Marl
