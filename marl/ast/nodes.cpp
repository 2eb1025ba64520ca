#include <marl/ast/nodes.h>

#include <marl/ast/function_expression.h>
#include <marl/ast/visitor.h>

namespace Marl {

// clang-format off
void BinaryExpressionAST::accept(Visitor* v)               { v->visitBinaryExpression(this); }
void NumberExpressionAST::accept(Visitor* v)               { v->visitNumberExpression(this); }
void BuiltinFunctionAST::accept(Visitor* v)                { v->visitBuiltinFunction(this); }
void ListExpressionAST::accept(Visitor* v)                 { v->visitListExpression(this); }
void PropertyReferenceAST::accept(Visitor* v)              { v->visitPropertyReferenceAST(this); }
void ArrayExpressionAST::accept(Visitor* v)                { v->visitArrayExpressionAST(this); }
void InterpolateExpressionAST::accept(Visitor* v)          { v->visitInterpolateExpression(this); }
void NegatedExpressionAST::accept(Visitor* v)              { v->visitNegatedExpression(this); }
void VectorExpressionAST::accept(Visitor* v)               { v->visitVectorExpression(this); }
void MatrixExpressionAST::accept(Visitor* v)               { v->visitMatrixExpression(this); }
void AColorExpressionAST::accept(Visitor* v)               { v->visitAColorExpression(this); }
void TransformExpressionAST::accept(Visitor* v)            { v->visitTransformExpression(this); }
void TransformHexExpressionAST::accept(Visitor* v)         { v->visitTransformHexExpression(this); }
void StringExpressionAST::accept(Visitor* v)               { v->visitStringExpression(this); }
void ObjectReferenceAST::accept(Visitor* v)                { v->visitObjectReference(this); }
template <> void ListTypeExpressionAST<Vector>::accept(Visitor* v)     { v->visitListVectorExpressionAST(this); }
template <> void ListTypeExpressionAST<int>::accept(Visitor* v)        { v->visitListIntExpressionAST(this); }
template <> void ListTypeExpressionAST<Color>::accept(Visitor* v)      { v->visitListColorExpressionAST(this); }
template <> void ListTypeExpressionAST<float>::accept(Visitor* v)      { v->visitListFloatExpressionAST(this); }
template <> void ListTypeExpressionAST<CharString>::accept(Visitor* v) { v->visitListStringExpressionAST(this); }
void RuntimeValueAST::accept(Visitor* v)                   { v->visitRuntimeValueAST(this); }
void ObjectIDExpressionAST::accept(Visitor* v)             { v->visitObjectIDExpression(this); }
void FunctionExpressionAST::accept(Visitor* v)             { v->visitFunctionExpression(this); }
// clang-format on

} // namespace Marl
