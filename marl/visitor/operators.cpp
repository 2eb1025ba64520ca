// The walk over operators.
#include <marl/visitor/detail/operands.h>

#include <marl/ast/detail/number_operators.h>

#include <array>
#include <climits>
#include <utility>

namespace Marl {

// Which operation computes a node depends on its operator and on what its operands are. A node
// remembers that from one walk to the next, which is an inline cache (L. P. Deutsch and A. M. Schiffman,
// "Efficient Implementation of the Smalltalk-80 System", POPL 1984): the jump is made while the operands
// are still on their way from memory, and whether it was the right one is checked when they are there.
struct CalculationVisitor::Operations {
    using Operation = MaybeNumber (*)(CalculationVisitor&, BinaryExpressionAST*, int level);

    // How an operand is read.
    enum class Reading { Visit, Number, Time, Call, Operator, Vector };

    static constexpr std::size_t readings = static_cast<std::size_t>(Reading::Vector) + 1;
    static constexpr std::size_t operators = 4;
    static constexpr std::size_t combinations = readings * readings * operators;
    static_assert(combinations <= UCHAR_MAX);

    static Reading readingOf(const ExpressionAST* node)
    {
        switch (node ? node->frequentNode() : FrequentNode::None) {
        case FrequentNode::Number: return Reading::Number;
        case FrequentNode::Builtin: return isTime(node) ? Reading::Time : Reading::Call;
        case FrequentNode::Binary: return Reading::Operator;
        case FrequentNode::Vector: return Reading::Vector;
        default: return Reading::Visit;
        }
    }

    template <Reading reading>
    static MaybeNumber operand(CalculationVisitor& evaluator, ExpressionAST* node, int level)
    {
        if constexpr (reading == Reading::Number)
            return just(static_cast<NumberExpressionAST*>(node)->number);
        else if constexpr (reading == Reading::Time)
            return just(evaluator.timeParam);
        else if constexpr (reading == Reading::Call)
            return evaluator.call(static_cast<BuiltinFunctionAST*>(node), level);
        else if constexpr (reading == Reading::Operator)
            return evaluator.binary(static_cast<BinaryExpressionAST*>(node), level);
        else if constexpr (reading == Reading::Vector)
            return evaluator.vectorOperand(static_cast<VectorExpressionAST*>(node), level);
        else
            return evaluator.walkOther(evaluator.shortcutTo(node), node, level);
    }

    template <Reading leftReading, Reading rightReading, TOKENTYPE op>
    static MaybeNumber operation(CalculationVisitor& evaluator, BinaryExpressionAST* node, int level)
    {
        if (node->op != op || readingOf(node->left) != leftReading || readingOf(node->right) != rightReading)
            return operationAnew(evaluator, node, level);
        const int inside = evaluator.enter(level);
        const MaybeNumber left = operand<leftReading>(evaluator, node->left, inside);
        if (left.isThere) {
            if constexpr (rightReading == Reading::Number || rightReading == Reading::Time)
                return calculate(op, left.number, operand<rightReading>(evaluator, node->right, inside).number);
            evaluator.valueStack.push(left.number);
        }
        const MaybeNumber right = operand<rightReading>(evaluator, node->right, inside);
        if (left.isThere && right.isThere) {
            evaluator.valueStack.popNumber();
            return calculate(op, left.number, right.number);
        }
        return evaluator.combineTopWith(right, op);
    }

    // Of a node that is met for the first time or has changed.
    [[gnu::noinline]] static MaybeNumber operationAnew(CalculationVisitor& evaluator, BinaryExpressionAST* node,
                                                       int level)
    {
        node->inlineCache.store(placeOf(node), std::memory_order_relaxed);
        return anyOperation(evaluator, node, level);
    }

    // Of any operands and any operator, told apart as they come.
    static MaybeNumber anyOperation(CalculationVisitor& evaluator, BinaryExpressionAST* node, int level)
    {
        const int inside = evaluator.enter(level);
        evaluator.evaluate(node->left, inside);
        return evaluator.combineTopWith(evaluator.operand(node->right, inside), node->op);
    }

    // Where the node's operation stands in the table; at first a cache says 0.
    static unsigned char placeOf(const BinaryExpressionAST* node)
    {
        const auto op = static_cast<std::size_t>(node->op) - static_cast<std::size_t>(TOKEN_PLUS);
        if (op >= operators)
            return 0;
        const auto left = static_cast<std::size_t>(readingOf(node->left));
        const auto right = static_cast<std::size_t>(readingOf(node->right));
        return static_cast<unsigned char>(1 + (left * readings + right) * operators + op);
    }

    using Table = std::array<Operation, 1 + combinations>;
    template <std::size_t... i>
    static constexpr Table all(std::index_sequence<i...>)
    {
        return {operationAnew,
                operation<Reading(i / operators / readings), Reading(i / operators % readings),
                          TOKENTYPE(TOKEN_PLUS + i % operators)>...};
    }
    static const Table table;
};

constinit const CalculationVisitor::Operations::Table CalculationVisitor::Operations::table =
    all(std::make_index_sequence<combinations>());

void CalculationVisitor::visitBinaryExpression(BinaryExpressionAST* node)
{
    const int level = levelOfVisit();
    pushNumber(shortcuts ? binary(node, level) : Operations::anyOperation(*this, node, level));
}

MaybeNumber CalculationVisitor::binary(BinaryExpressionAST* node, int level)
{
    return Operations::table[node->inlineCache.load(std::memory_order_relaxed)](*this, node, level);
}

} // namespace Marl
