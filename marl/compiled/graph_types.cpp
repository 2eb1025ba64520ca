// Which nodes have a kind that follows from the tree, and which of them are constant.
#include <marl/compiled/detail/graph.h>

#include <marl/ast/detail/builtins.h>
#include <marl/ast/function_expression.h>
#include <marl/value/detail/operators.h>
#include <marl/value/exceptions.h>

#include <algorithm>
#include <optional>
#include <type_traits>

namespace Marl {

namespace {

Typed kindOf(const Plain& value)
{
    return static_cast<Typed>(value.index());
}

std::optional<Typed> typedKind(ValueType kind)
{
    switch (kind) {
    case ValueType::Double: return Typed::Number;
    case ValueType::Vector: return Typed::Vector;
    case ValueType::Matrix: return Typed::Matrix;
    case ValueType::Color: return Typed::Color;
    case ValueType::AColor: return Typed::AColor;
    case ValueType::Transform: return Typed::Transform;
    default: return std::nullopt;
    }
}

std::optional<Plain> plainOf(const Value& value)
{
    switch (value.kind()) {
    case ValueType::Double: return value.getDouble();
    case ValueType::Vector: return value.getTracePoint();
    case ValueType::Matrix: return value.getMatrix();
    case ValueType::Color: return value.getColor();
    case ValueType::AColor: return value.getAColor();
    case ValueType::Transform: return value.getTransform();
    default: return std::nullopt;
    }
}

// Nothing where the rule has no row for the two kinds.
template <auto rule>
std::optional<Plain> combined(const Plain& left, const Plain& right)
{
    return std::visit(
        [](const auto& l, const auto& r) -> std::optional<Plain> {
            if constexpr (std::is_invocable_v<decltype(rule), decltype(l), decltype(r)>)
                return Plain(rule(l, r));
            else
                return std::nullopt;
        },
        left, right);
}

std::optional<Plain> combined(TOKENTYPE op, const Plain& left, const Plain& right)
{
    switch (op) {
    case TOKEN_PLUS: return combined<Rule::sum>(left, right);
    case TOKEN_MINUS: return combined<Rule::difference>(left, right);
    case TOKEN_MULTIPLY: return combined<Rule::product>(left, right);
    case TOKEN_DIVIDE: return combined<Rule::quotient>(left, right);
    }
    return std::nullopt;
}

const Plain& zeroOf(Typed kind)
{
    static const Plain zeros[typedKinds] = {0.0, TracePoint(), Matrix(), Color(), AColor(), TraceTransform()};
    return zeros[static_cast<int>(kind)];
}

// Which kind an operator gives follows from the kinds that it takes.
std::optional<Typed> resultKind(TOKENTYPE op, Typed left, Typed right)
{
    const auto result = combined(op, zeroOf(left), zeroOf(right));
    return result ? std::optional(kindOf(*result)) : std::nullopt;
}

} // namespace

// Nodes that stand for operands of another kind than is asked for.
void Graph::addZeros()
{
    for (int kind = 0; kind < typedKinds; ++kind) {
        zeros[kind] = static_cast<NodeIndex>(nodes.size());
        nodes.emplace_back().isOpen = false;
        makeConstant(zeros[kind], zeroOf(Typed(kind)));
    }
}

void Graph::makeConstant(NodeIndex node, const Plain& value)
{
    GraphNode& made = nodes[node];
    made.task = NodeTask::Constant;
    made.isTyped = true;
    made.kind = kindOf(value);
    made.constant = &constants.emplace_back(value);
    made.childCount = 0;
}

// Where a value of another kind stands, the zero of the kind that is asked for is read. How deeply the other
// value is nested may still vary with time, and so may whether a walk comes to an end.
void Graph::replaceOtherKinds(NodeIndex node, std::uint32_t i, Typed kind)
{
    NodeIndex& operand = children[nodes[node].firstChild + i];
    if (nodes[operand].kind != kind)
        operand = zeros[static_cast<int>(kind)];
}

void Graph::type(NodeIndex index)
{
    GraphNode& node = nodes[index];
    if (node.task == NodeTask::Function)
        return typeFunction(index);
    const auto below = childrenOf(index);
    if (below.empty() || !std::ranges::all_of(below, [&](NodeIndex i) { return nodes[i].isTyped; }))
        return;
    const auto takes = [&](std::initializer_list<Typed> kinds) {
        std::uint32_t i = 0;
        for (const Typed kind : kinds)
            replaceOtherKinds(index, i++, kind);
    };
    const auto gives = [&](Typed kind) {
        node.isTyped = true;
        node.kind = kind;
    };
    using enum Typed;
    switch (node.task) {
    case NodeTask::Operate: {
        const auto op = static_cast<const BinaryExpressionAST*>(node.expression)->op;
        const auto kind = resultKind(op, nodes[below[0]].kind, nodes[below[1]].kind);
        if (!kind)
            return;
        gives(*kind);
        break;
    }
    case NodeTask::Negate:
    case NodeTask::PassOn: gives(nodes[below[0]].kind); break;
    case NodeTask::Call: {
        const auto kindOf = [](ValueType type) { return type == ValueType::Vector ? Vector : Number; };
        const auto signature = signatureOf(static_cast<const BuiltinFunctionAST*>(node.expression)->functionId);
        for (std::uint32_t i = 0; i < node.childCount; ++i)
            replaceOtherKinds(index, i, kindOf(signature.takes));
        gives(kindOf(signature.gives));
        break;
    }
    case NodeTask::Vector:
        takes({Number, Number, Number});
        gives(Vector);
        break;
    case NodeTask::Color:
        takes({Number, Number, Number});
        gives(Color);
        break;
    case NodeTask::AColor:
        takes({Number, Number, Number, Number});
        gives(AColor);
        break;
    case NodeTask::Matrix:
        takes({Vector, Vector, Vector});
        gives(Matrix);
        break;
    case NodeTask::Transform:
        takes({Matrix, Vector});
        gives(Transform);
        break;
    case NodeTask::Keys: {
        const Typed kind = nodes[below[0]].kind;
        const auto values = below.first(node.keyCount);
        const auto times = below.subspan(node.keyCount);
        const bool areAlike = std::ranges::all_of(values, [&](NodeIndex i) { return nodes[i].kind == kind; });
        const bool areConstant =
            std::ranges::all_of(values, [&](NodeIndex i) { return nodes[i].constant != nullptr; });
        if (!areAlike || times.size() == 1 || (!times.empty() && !areConstant))
            return;
        for (std::uint32_t i = node.keyCount; i < node.childCount; ++i)
            replaceOtherKinds(index, i, Number);
        gives(kind);
        return;
    }
    default: return;
    }
    if (std::ranges::all_of(childrenOf(index), [&](NodeIndex i) { return nodes[i].constant != nullptr; }))
        return computeConstant(index);
    int most = 0, again = 0; // the heavier operand first
    for (const NodeIndex i : childrenOf(index)) {
        const int need = nodes[i].need;
        again = std::max(again, std::min(need, most));
        most = std::max(most, need);
    }
    node.need = static_cast<std::uint8_t>(std::min(std::max({1, most, again + 1}), 255));
}

// A function is typed where its arguments have the kinds that it says.
void Graph::typeFunction(NodeIndex index)
{
    GraphNode& node = nodes[index];
    const auto kinds = static_cast<const FunctionExpressionAST*>(node.expression)->kinds();
    const auto below = childrenOf(index);
    const auto isOfKind = [&](NodeIndex i, ValueType kind) {
        return nodes[i].isTyped && typedKind(kind) == nodes[i].kind;
    };
    if (!kinds || !typedKind(kinds->gives) || !std::ranges::equal(below, kinds->takes, isOfKind))
        return;
    node.isTyped = true;
    node.kind = *typedKind(kinds->gives);
    node.need = 255;
    if (!node.varies && std::ranges::all_of(below, [&](NodeIndex i) { return nodes[i].constant != nullptr; }))
        computeFunction(index);
}

// What breaks its word and throws, or gives another kind, is computed when it is needed.
void Graph::computeFunction(NodeIndex index)
{
    GraphNode& node = nodes[index];
    std::vector<Value> arguments;
    for (const NodeIndex below : childrenOf(index))
        arguments.push_back(std::visit([](const auto& record) { return Value(record); }, *nodes[below].constant));
    auto* function = static_cast<FunctionExpressionAST*>(const_cast<ExpressionAST*>(node.expression));
    try {
        const Value value = function->call(arguments, Moment());
        if (const auto plain = plainOf(value); plain && kindOf(*plain) == node.kind)
            return makeConstant(index, *plain);
    } catch (const Exception&) {
    }
    node.isTyped = false;
}

void Graph::computeConstant(NodeIndex index)
{
    const GraphNode& node = nodes[index];
    const auto operand = [&]<typename Record>(std::uint32_t i, const Record&) {
        return std::get<Record>(*nodes[child(index, i)].constant);
    };
    const auto number = [&](std::uint32_t i) { return operand(i, 0.0); };
    const auto vector = [&](std::uint32_t i) { return operand(i, TracePoint()); };
    switch (node.task) {
    case NodeTask::Operate:
        return makeConstant(index,
                            *combined(static_cast<const BinaryExpressionAST*>(node.expression)->op,
                                      *nodes[child(index, 0)].constant, *nodes[child(index, 1)].constant));
    case NodeTask::Negate:
        return makeConstant(
            index, std::visit([](const auto& x) { return Plain(negative(x)); }, *nodes[child(index, 0)].constant));
    case NodeTask::PassOn: return makeConstant(index, *nodes[child(index, 0)].constant);
    case NodeTask::Vector: return makeConstant(index, TracePoint{number(0), number(1), number(2)});
    case NodeTask::Color: return makeConstant(index, Color{single(number(0)), single(number(1)), single(number(2))});
    case NodeTask::AColor:
        return makeConstant(index,
                            AColor{single(number(0)), single(number(1)), single(number(2)), single(number(3))});
    case NodeTask::Matrix:
        return makeConstant(index, Matrix(narrowed(vector(0)), narrowed(vector(1)), narrowed(vector(2))));
    case NodeTask::Transform: return makeConstant(index, TraceTransform{operand(0, Matrix()), vector(1)});
    case NodeTask::Call: {
        const auto* function = static_cast<const BuiltinFunctionAST*>(node.expression);
        std::uint32_t i = node.childCount;
        const Value result = call(
            *function, [&](const char*) { return number(--i); }, [&] { return vector(--i); });
        return makeConstant(index, *plainOf(result));
    }
    default: return; // no other task is computed from constants
    }
}

} // namespace Marl
