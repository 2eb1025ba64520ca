// Evaluates trees the plain way: a second opinion on the evaluator.
//
// Each visit does what its rule says, step by step, on one stack of values, without shortcuts
// and without anything known beforehand. Of the library it takes values, nodes and what nodes
// read from their source, the way between two transforms, and noise at a point.
#pragma once

#include <marl/marl.h>

#include <set>
#include <vector>

namespace Marl::Fuzz {

class ReferenceWalk final : public Visitor {
public:
    struct TooMuchWork {};

    double time = 0;
    bool holdsKeys = false;
    int depthLimit = 10'000;
    int visitLimit = 10'000;                               // of one evaluation
    int visits() const { return visitLimit - visitsLeft; } // of the last one

    // The result lies on the stack, or what a failure left there. Throws InvalidOpException
    // and TooMuchWork.
    void evaluate(ExpressionAST* root);
    std::vector<Value> stack;

    void visitBinaryExpression(BinaryExpressionAST* node) override;
    void visitNumberExpression(NumberExpressionAST* node) override;
    void visitBuiltinFunction(BuiltinFunctionAST* node) override;
    void visitListExpression(ListExpressionAST* node) override;
    void visitPropertyReferenceAST(PropertyReferenceAST* node) override;
    void visitArrayExpressionAST(ArrayExpressionAST* node) override;
    void visitInterpolateExpression(InterpolateExpressionAST* node) override;
    void visitNegatedExpression(NegatedExpressionAST* node) override;
    void visitVectorExpression(VectorExpressionAST* node) override;
    void visitMatrixExpression(MatrixExpressionAST* node) override;
    void visitAColorExpression(AColorExpressionAST* node) override;
    void visitTransformExpression(TransformExpressionAST* node) override;
    void visitTransformHexExpression(TransformHexExpressionAST* node) override;
    void visitStringExpression(StringExpressionAST* node) override;
    void visitObjectReference(ObjectReferenceAST* node) override;
    void visitListVectorExpressionAST(ListTypeExpressionAST<Vector>* node) override { pushList(node); }
    void visitListIntExpressionAST(ListTypeExpressionAST<int>* node) override { pushList(node); }
    void visitListColorExpressionAST(ListTypeExpressionAST<Color>* node) override { pushList(node); }
    void visitListFloatExpressionAST(ListTypeExpressionAST<float>* node) override { pushList(node); }
    void visitListStringExpressionAST(ListTypeExpressionAST<CharString>* node) override { pushList(node); }
    void visitRuntimeValueAST(RuntimeValueAST* node) override;
    void visitObjectIDExpression(ObjectIDExpressionAST* node) override;
    void visitFunctionExpression(FunctionExpressionAST* node) override;

private:
    void expectRoom() const;
    void passOn(ExpressionAST* node);
    void operand(ExpressionAST* node);
    Value taken();
    Value taken(ExpressionAST* node);
    double number(const char* complaint);
    double component(ExpressionAST* node, const char* complaint);
    Vector vector(ExpressionAST* node);
    Value call(BuiltinFunctionAST* node);
    Value blend(const Value& earlier, const Value& later, double factor);
    template <typename T>
    void pushList(ListTypeExpressionAST<T>* node);

    int depth = 0;
    int visitsLeft = 0;
    std::set<const PropertyAST*> entered;
    ProgramAST scratch; // for the elements of data lists
};

} // namespace Marl::Fuzz
