// The walk over operators.
#include <marl/visitor/detail/operands.h>

#include <marl/ast/detail/number_operators.h>

#include <algorithm>
#include <array>

namespace Marl {

// Which operation a node asks for is looked up by the kinds of its operands and by its operator, all
// three at once: processors foresee one jump through a table far better than the branches that would
// ask for the three one after the other.
struct CalculationVisitor::Operations {
    using Operation = MaybeNumber (*)(CalculationVisitor&, BinaryExpressionAST*, int level);

    template <FrequentNode leftKind, FrequentNode rightKind, TOKENTYPE op>
    static MaybeNumber operation(CalculationVisitor& evaluator, BinaryExpressionAST* node, int level)
    {
        const int inside = evaluator.enter(level);
        const MaybeNumber left = operand<leftKind>(evaluator, node->left, inside);
        if (!left.isThere)
            return onStack(evaluator, node, inside);
        if (isLeaf<rightKind>(node->right))
            return calculate(op, left.number, operand<rightKind>(evaluator, node->right, inside).number);
        evaluator.valueStack.push(left.number);
        const MaybeNumber right = operand<rightKind>(evaluator, node->right, inside);
        if (!right.isThere)
            return evaluator.combineTopTwo(op);
        evaluator.valueStack.popNumber();
        return calculate(op, left.number, right.number);
    }

    // Of a code that is none of the four.
    static MaybeNumber noOperation(CalculationVisitor& evaluator, BinaryExpressionAST* node, int level)
    {
        const int inside = evaluator.enter(level);
        evaluator.evaluate(node->left, inside);
        return onStack(evaluator, node, inside);
    }

    // The left operand lies on the stack.
    [[gnu::noinline]] static MaybeNumber onStack(CalculationVisitor& evaluator, BinaryExpressionAST* node, int inside)
    {
        evaluator.evaluate(node->right, inside);
        return evaluator.combineTopTwo(node->op);
    }

    // Whether the operand is a number or the time, which need no visit.
    template <FrequentNode kind>
    static bool isLeaf(const ExpressionAST* node)
    {
        return kind == FrequentNode::Number || (kind == FrequentNode::Builtin && isTime(node));
    }

    // None stands for every kind that has no operations of its own, as negations have none.
    template <FrequentNode kind>
    static MaybeNumber operand(CalculationVisitor& evaluator, ExpressionAST* node, int level)
    {
        if constexpr (kind == FrequentNode::Number)
            return just(static_cast<NumberExpressionAST*>(node)->number);
        else if constexpr (kind == FrequentNode::Builtin)
            return isTime(node) ? just(evaluator.timeParam)
                                : evaluator.call(static_cast<BuiltinFunctionAST*>(node), level);
        else if constexpr (kind == FrequentNode::Binary)
            return evaluator.binary(static_cast<BinaryExpressionAST*>(node), level);
        else if constexpr (kind == FrequentNode::Vector)
            return evaluator.vectorOperand(static_cast<VectorExpressionAST*>(node), level);
        else
            return evaluator.walkOther(evaluator.shortcutTo(node), node, level);
    }

    using ByOperator = std::array<Operation, 5>; // in the order of TOKENTYPE
    using ByRight = std::array<ByOperator, 6>;   // in the order of FrequentNode
    using ByLeft = std::array<ByRight, 6>;
    static_assert(static_cast<std::size_t>(FrequentNode::Vector) + 1 == std::tuple_size_v<ByRight>);

    template <FrequentNode left, FrequentNode right>
    static constexpr ByOperator ofPair()
    {
        return {operation<left, right, TOKEN_PLUS>, operation<left, right, TOKEN_MINUS>,
                operation<left, right, TOKEN_DIVIDE>, operation<left, right, TOKEN_MULTIPLY>, noOperation};
    }

    template <FrequentNode left>
    static constexpr ByRight ofLeft()
    {
        using enum FrequentNode;
        return {ofPair<left, None>(),   ofPair<left, Number>(), ofPair<left, Builtin>(),
                ofPair<left, Binary>(), ofPair<left, None>(),   ofPair<left, Vector>()};
    }

    static constexpr ByLeft all()
    {
        using enum FrequentNode;
        return {ofLeft<None>(),   ofLeft<Number>(), ofLeft<Builtin>(),
                ofLeft<Binary>(), ofLeft<None>(),   ofLeft<Vector>()};
    }
};

void CalculationVisitor::visitBinaryExpression(BinaryExpressionAST* node)
{
    const int level = levelOfVisit();
    pushNumber(shortcuts ? binary(node, level) : Operations::noOperation(*this, node, level));
}

MaybeNumber CalculationVisitor::binary(BinaryExpressionAST* node, int level)
{
    static constexpr Operations::ByLeft operations = Operations::all();
    const auto kindOf = [](const ExpressionAST* operand) {
        return static_cast<std::size_t>(operand ? operand->frequentNode() : FrequentNode::None);
    };
    const auto op = std::min(static_cast<unsigned>(node->op) - static_cast<unsigned>(TOKEN_PLUS), 4u);
    return operations[kindOf(node->left)][kindOf(node->right)][op](*this, node, level);
}

} // namespace Marl
