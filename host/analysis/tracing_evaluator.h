// An evaluator that knows where it is.
#pragma once

#include <marl/marl.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace Marl::Host {

// References are walked anew each time, so a small scene can make more visits than anyone waits for.
struct TooManyVisits {};

// Keeps the nodes that are being evaluated, the innermost last. They stay when an evaluation fails,
// so that the last one is where it failed.
class TracingEvaluator final : public CalculationVisitor {
public:
    struct Step {
        ExpressionAST* node;
        std::vector<int> kinds; // of the values that the nodes below it gave so far
    };

    static constexpr std::int64_t mostVisits = 10'000'000; // behind them it throws TooManyVisits

    std::vector<Step> way;

    // Told of every node that gave a value, where someone listens.
    std::function<void(const ExpressionAST*, const Value&)> heard;

    // clang-format off
    void visitBinaryExpression(BinaryExpressionAST* n) override                { enter(n); CalculationVisitor::visitBinaryExpression(n); leave(); }
    void visitNumberExpression(NumberExpressionAST* n) override                { enter(n); CalculationVisitor::visitNumberExpression(n); leave(); }
    void visitBuiltinFunction(BuiltinFunctionAST* n) override                  { enter(n); CalculationVisitor::visitBuiltinFunction(n); leave(); }
    void visitListExpression(ListExpressionAST* n) override                    { enter(n); CalculationVisitor::visitListExpression(n); leave(); }
    void visitPropertyReferenceAST(PropertyReferenceAST* n) override           { enter(n); CalculationVisitor::visitPropertyReferenceAST(n); leave(); }
    void visitArrayExpressionAST(ArrayExpressionAST* n) override               { enter(n); CalculationVisitor::visitArrayExpressionAST(n); leave(); }
    void visitInterpolateExpression(InterpolateExpressionAST* n) override      { enter(n); CalculationVisitor::visitInterpolateExpression(n); leave(); }
    void visitNegatedExpression(NegatedExpressionAST* n) override              { enter(n); CalculationVisitor::visitNegatedExpression(n); leave(); }
    void visitVectorExpression(VectorExpressionAST* n) override                { enter(n); CalculationVisitor::visitVectorExpression(n); leave(); }
    void visitMatrixExpression(MatrixExpressionAST* n) override                { enter(n); CalculationVisitor::visitMatrixExpression(n); leave(); }
    void visitAColorExpression(AColorExpressionAST* n) override                { enter(n); CalculationVisitor::visitAColorExpression(n); leave(); }
    void visitTransformExpression(TransformExpressionAST* n) override          { enter(n); CalculationVisitor::visitTransformExpression(n); leave(); }
    void visitTransformHexExpression(TransformHexExpressionAST* n) override    { enter(n); CalculationVisitor::visitTransformHexExpression(n); leave(); }
    void visitStringExpression(StringExpressionAST* n) override                { enter(n); CalculationVisitor::visitStringExpression(n); leave(); }
    void visitObjectReference(ObjectReferenceAST* n) override                  { enter(n); CalculationVisitor::visitObjectReference(n); leave(); }
    void visitListVectorExpressionAST(ListTypeExpressionAST<Vector>* n) override     { enter(n); CalculationVisitor::visitListVectorExpressionAST(n); leave(); }
    void visitListIntExpressionAST(ListTypeExpressionAST<int>* n) override           { enter(n); CalculationVisitor::visitListIntExpressionAST(n); leave(); }
    void visitListColorExpressionAST(ListTypeExpressionAST<Color>* n) override       { enter(n); CalculationVisitor::visitListColorExpressionAST(n); leave(); }
    void visitListFloatExpressionAST(ListTypeExpressionAST<float>* n) override       { enter(n); CalculationVisitor::visitListFloatExpressionAST(n); leave(); }
    void visitListStringExpressionAST(ListTypeExpressionAST<CharString>* n) override { enter(n); CalculationVisitor::visitListStringExpressionAST(n); leave(); }
    void visitRuntimeValueAST(RuntimeValueAST* n) override                     { enter(n); CalculationVisitor::visitRuntimeValueAST(n); leave(); }
    void visitObjectIDExpression(ObjectIDExpressionAST* n) override            { enter(n); CalculationVisitor::visitObjectIDExpression(n); leave(); }
    void visitFunctionExpression(FunctionExpressionAST* n) override            { enter(n); CalculationVisitor::visitFunctionExpression(n); leave(); }
    // clang-format on

private:
    void enter(ExpressionAST* node);
    void leave();

    std::int64_t visits = 0;
};

} // namespace Marl::Host
