// The evaluator: computes one expression tree at a time and leaves one value as its result.
#pragma once

#include <marl/api.h>
#include <marl/ast/nodes.h>
#include <marl/ast/visitor.h>
#include <marl/value/value.h>
#include <marl/visitor/active_properties.h>
#include <marl/visitor/budget.h>
#include <marl/visitor/value_stack.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace Marl {

// Set the time, let a root node accept the evaluator, read the result:
//
//     CalculationVisitor evaluator;
//     evaluator.setTimeParam(5);
//     property->expression->accept(&evaluator);
//     Value value = evaluator.getResult();
//
// Every visit leaves one value on the evaluator's stack; a vector literal whose valueType is
// neither vector nor color leaves none. A visit that fails throws InvalidOpException, pushes
// nothing, and leaves what its operands had pushed and it had not yet taken; such leftovers
// lie below any later result. The evaluator stays usable.
//
// A fresh evaluator costs next to nothing. One evaluator is used by one thread at a time;
// any number of them may walk one tree at once, after the resolution pass.
class MARL_API CalculationVisitor : public Visitor {
public:
    CalculationVisitor() = default;
    CalculationVisitor(const CalculationVisitor&) = delete;
    CalculationVisitor& operator=(const CalculationVisitor&) = delete;

    void setTimeParam(double time) { timeParam = time; }

    // Non-zero makes interpolation hold the earlier key's value instead of blending.
    void setDontInterpolate(unsigned int hold) { dontInterpolate = hold; }

    // How many levels of nodes may lie in one another, property references included, before a
    // visit fails with "Expression is nested too deeply.". The default suits a stack of 8 MiB.
    void setDepthLimit(int levels) { depthLimit = levels, watch(); }

    // Limits of one evaluation, which begins where the host lets a node accept the evaluator; 0 and null are no
    // limit. Each ends in a failure; the evaluator stays usable.
    //
    // How many nodes with others below them may be visited, references included, and how many items of lists and
    // keys of curves: "Evaluation takes too many steps."
    void setStepLimit(std::uint64_t steps) { budget.setStepLimit(steps), watch(); }
    // How much the lists and texts that come into being may hold together, elements of lists that are joined
    // counted where they came from: "Values take too much memory."
    void setMemoryLimit(std::uint64_t bytes) { budget.setMemoryLimit(bytes), watch(); }
    // Looked at at least once in a thousand steps and behind every call of a host's function, borrowed; any
    // thread may set it: "Evaluation was stopped."
    void setStopFlag(const std::atomic<bool>* flag) { budget.setStopFlag(flag), watch(); }

    // A copy of the newest value, which stays; undefined before anything was evaluated.
    Value getResult() const { return valueStack.isEmpty() ? Value() : valueStack.top(); }

    // Whether there is a result, be it an undefined value.
    bool hasResult() const { return !valueStack.isEmpty(); }

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
    void visitListVectorExpressionAST(ListTypeExpressionAST<Vector>* node) override;
    void visitListIntExpressionAST(ListTypeExpressionAST<int>* node) override;
    void visitListColorExpressionAST(ListTypeExpressionAST<Color>* node) override;
    void visitListFloatExpressionAST(ListTypeExpressionAST<float>* node) override;
    void visitListStringExpressionAST(ListTypeExpressionAST<CharString>* node) override;
    void visitRuntimeValueAST(RuntimeValueAST* node) override;
    void visitObjectIDExpression(ObjectIDExpressionAST* node) override;
    void visitFunctionExpression(FunctionExpressionAST* node) override;

    virtual ~CalculationVisitor() = default;

    // The operators. Operands are never changed, a list result shares no storage with them.
    // Pairs of kinds outside an operator's table throw InvalidOpException "Unable to sum.",
    // "Unable to subtract.", "Unable to multiply." or "Unable to divide.". Nothing is checked
    // for range: overflow and division by zero follow IEEE arithmetic. docs/arithmetic.md has
    // the tables; an operator code that is none of the four gives an undefined value.
    Value doOp(TOKENTYPE op, const Value& left, const Value& right);
    Value doSum(const Value& left, const Value& right);
    Value doSubraction(const Value& left, const Value& right);
    Value doMultiply(const Value& left, const Value& right);
    Value doDivision(const Value& left, const Value& right);

    // Changes the sign in place; a kind without sign stays as it is.
    void negate(Value& value);

    // Three-dimensional gradient noise with quintic fade (Ken Perlin, "Improving Noise",
    // SIGGRAPH 2002), on fixed tables of 256 entries; neither clamped nor rescaled. The same
    // point gives the same bits in every process. Safe from several threads at any time.
    float noise(const Vector& point);

private:
    friend class BatchEvaluator; // walks on what is left of its budget
    class Level;
    class ActiveReference;
    class HeldValue;
    struct Bracket;

    void watch() { unwatchedLevels = budget.isLimited() ? std::min(depthLimit, 0) : depthLimit; }
    void enterWatched(ExpressionAST* node);
    void takeStep(ExpressionAST* node);
    void takeMemory(ExpressionAST* node, std::uint64_t bytes);

    // What fails in these names the node.
    void passOn(ExpressionAST* node, ExpressionAST* child);
    void evaluate(ExpressionAST* node, ExpressionAST* child);
    void settle(ExpressionAST* node, std::ptrdiff_t before);

    Value takeValue();
    double takeNumber(const char* complaint);
    double takeNumberOrLeave(ExpressionAST* node, const char* complaint);
    TracePoint takePoint();
    Matrix takeMatrix();

    void combineTopTwo(BinaryExpressionAST* node);
    void callOnTop(BuiltinFunctionAST* node);
    void callOnTop(FunctionExpressionAST* node);
    void blendTopWith(InterpolateExpressionAST* node, const Value& earlier, double factor);
    bool knowsTimes(const InterpolateExpressionAST* node) const;
    Bracket bracketKnownTime(const InterpolateExpressionAST::ConstantTimes& known) const;
    Bracket bracketVaryingTime(InterpolateExpressionAST* node);

    template <typename T>
    void pushTypedList(ListTypeExpressionAST<T>* node);

    double timeParam = 0;
    unsigned int dontInterpolate = 0;
    ValueStack valueStack;

    int depthLimit = 10'000;
    int depth = 0;
    int unwatchedLevels = depthLimit; // none where an evaluation is limited
    Budget budget;

    ActiveProperties activeProperties;
    std::optional<ValueStack> heldValues; // taken off the stack and needed later in the same visit
};

} // namespace Marl
