#include <marl/compiled/detail/graph.h>

#include <marl/ast/detail/operations.h>
#include <marl/ast/program.h>
#include <marl/compiled/detail/node_class.h>
#include <marl/value/detail/functions.h>
#include <marl/value/detail/noise.h>
#include <marl/value/detail/operators.h>
#include <marl/value/detail/truncation.h>
#include <marl/value/exceptions.h>

#include <algorithm>
#include <climits>
#include <type_traits>
#include <utility>

namespace Marl {

namespace {

constexpr const char* incomplete = "Expression is incomplete.";

Typed kindOf(const Plain& value)
{
    return static_cast<Typed>(value.index());
}

// What an operator comes to where its pair of kinds has a row.
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

// The end of a chain of bound references; null where it is broken or goes round.
ExpressionAST* behindReferences(ExpressionAST* node)
{
    for (int steps = 0; node && classOf(*node) == NodeClass::Reference; ++steps) {
        const PropertyAST* property = static_cast<PropertyReferenceAST*>(node)->property;
        if (!property || steps > 10'000)
            return nullptr;
        node = property->expression;
    }
    return node;
}

} // namespace

Graph::Graph(std::span<ExpressionAST* const> expressions)
{
    for (int kind = 0; kind < typedKinds; ++kind) {
        zeros[kind] = static_cast<NodeIndex>(nodes.size());
        nodes.emplace_back();
        makeConstant(zeros[kind], zeroOf(Typed(kind)));
        nodes.back().isOpen = false;
    }
    for (ExpressionAST* expression : expressions)
        roots.push_back(read(expression));
    if (hasCircle)
        findHeightsOfCircles();
    countUsers();
}

NodeIndex Graph::read(ExpressionAST* root)
{
    struct Open {
        NodeIndex node;
        std::uint32_t nextChild;
    };

    bool isNew = false;
    const NodeIndex rootNode = nodeOf(root, isNew);
    std::vector<Open> open;
    if (isNew)
        open.push_back({rootNode, 0});
    while (!open.empty()) {
        const NodeIndex node = open.back().node;
        if (open.back().nextChild < nodes[node].childCount) {
            const std::uint32_t place = nodes[node].firstChild + open.back().nextChild++;
            const NodeIndex child = nodeOf(childExpressions[place], isNew);
            children[place] = child;
            nodes[child].isApart |= nodes[node].isReference;
            if (isNew)
                open.push_back({child, 0});
            else
                hasCircle |= nodes[child].isOpen;
        } else if (addElements(node)) {
            open.back().nextChild = nodes[node].task == NodeTask::PassOn ? 0 : nodes[node].keyCount;
        } else {
            close(node);
            open.pop_back();
        }
    }
    return rootNode;
}

// Numbers are too many and too small to be worth being found again.
NodeIndex Graph::nodeOf(ExpressionAST* expression, bool& isNew)
{
    const auto node = static_cast<NodeIndex>(nodes.size());
    isNew = true;
    if (!expression || classOf(*expression) != NodeClass::Number) {
        const auto [place, isInserted] = byAddress.try_emplace(expression, node);
        isNew = isInserted;
        if (!isNew)
            return place->second;
    }
    nodes.emplace_back();
    describe(node, expression);
    return node;
}

void Graph::addChildren(NodeIndex node, std::span<ExpressionAST* const> expressions)
{
    GraphNode& parent = nodes[node];
    const auto before = static_cast<std::uint32_t>(children.size());
    if (parent.childCount > 0 && parent.firstChild + parent.childCount != before)
        for (std::uint32_t i = 0; i < parent.childCount; ++i) { // they stay together
            children.push_back(children[parent.firstChild + i]);
            childExpressions.push_back(childExpressions[parent.firstChild + i]);
        }
    if (parent.childCount == 0 || parent.firstChild + parent.childCount != before)
        parent.firstChild = before;
    children.resize(children.size() + expressions.size());
    childExpressions.insert(childExpressions.end(), expressions.begin(), expressions.end());
    parent.childCount += static_cast<std::uint32_t>(expressions.size());
}

void Graph::describe(NodeIndex node, ExpressionAST* expression)
{
    GraphNode& made = nodes[node];
    made.expression = expression;
    made.levels = 1;
    const auto be = [&](NodeTask task, std::span<ExpressionAST* const> below = {}) {
        made.task = task;
        addChildren(node, below);
    };
    const auto leaf = [&](NodeTask task) {
        made.task = task;
        made.levels = 0;
    };
    const auto fail = [&](const char* message) {
        made.task = NodeTask::Fail;
        made.message = message;
    };
    if (!expression) {
        made.levels = 0;
        return fail(incomplete);
    }

    switch (classOf(*expression)) {
    case NodeClass::Number:
        leaf(NodeTask::Constant);
        return makeConstant(node, static_cast<NumberExpressionAST*>(expression)->number);
    case NodeClass::Builtin: return describeCall(node, static_cast<BuiltinFunctionAST*>(expression));
    case NodeClass::Binary: {
        auto* binary = static_cast<BinaryExpressionAST*>(expression);
        return be(NodeTask::Operate, std::initializer_list<ExpressionAST*>{binary->left, binary->right});
    }
    case NodeClass::Negated: return be(NodeTask::Negate, {&static_cast<NegatedExpressionAST*>(expression)->operand, 1});
    case NodeClass::Vector: {
        auto* vector = static_cast<VectorExpressionAST*>(expression);
        if (vector->valueType == static_cast<int>(ValueType::Vector))
            return be(NodeTask::Vector, vector->components);
        if (vector->valueType == static_cast<int>(ValueType::Color))
            return be(NodeTask::Color, vector->components);
        return leaf(NodeTask::Nothing);
    }
    case NodeClass::AColor: return be(NodeTask::AColor, static_cast<AColorExpressionAST*>(expression)->components);
    case NodeClass::Matrix: return be(NodeTask::Matrix, static_cast<MatrixExpressionAST*>(expression)->columns);
    case NodeClass::Transform: {
        auto* transform = static_cast<TransformExpressionAST*>(expression);
        return be(NodeTask::Transform, std::initializer_list<ExpressionAST*>{transform->matrix, transform->offset});
    }
    case NodeClass::List: {
        std::vector<ExpressionAST*> items;
        for (const ListItem* item = static_cast<ListExpressionAST*>(expression)->firstItem; item; item = item->next)
            items.push_back(item->expression);
        made.levels = items.empty() ? 0 : 1;
        return be(NodeTask::List, items);
    }
    case NodeClass::Interpolate: return describeKeys(node, static_cast<InterpolateExpressionAST*>(expression));
    case NodeClass::Reference: {
        const PropertyAST* property = static_cast<PropertyReferenceAST*>(expression)->property;
        if (!property)
            return fail("Property reference is not bound.");
        made.isReference = true;
        return be(NodeTask::PassOn, {&property->expression, 1});
    }
    case NodeClass::Array: {
        auto* array = static_cast<ArrayExpressionAST*>(expression);
        if (array->indices.empty())
            return be(NodeTask::PassOn, {&array->target, 1});
        be(NodeTask::Element, array->indices);
        made.keyCount = made.childCount;
        return;
    }
    case NodeClass::Host:
    case NodeClass::ObjectReference:
    case NodeClass::RuntimeValue: made.varies = true; return leaf(NodeTask::Visit);
    case NodeClass::String:
    case NodeClass::ListVector:
    case NodeClass::ListInt:
    case NodeClass::ListColor:
    case NodeClass::ListFloat:
    case NodeClass::ListString:
    case NodeClass::ObjectID:
    case NodeClass::TransformHex: return leaf(NodeTask::Visit);
    }
}

void Graph::describeCall(NodeIndex node, BuiltinFunctionAST* call)
{
    GraphNode& made = nodes[node];
    const auto takes = [&](int arguments) {
        const auto* missing = std::find(call->args, call->args + arguments, nullptr);
        if (missing == call->args + arguments) {
            made.task = NodeTask::Call;
            return addChildren(node, {call->args, static_cast<std::size_t>(arguments)});
        }
        made.levels = 0;
        made.message = "Built-in function lacks an argument.";
    };
    switch (Builtin(call->functionId)) {
    case Builtin::Time:
        made.levels = 0;
        made.task = NodeTask::Time;
        made.isTyped = made.varies = true;
        return;
    case Builtin::Sample: made.levels = 0; return makeConstant(node, widened(call->sample));
    case Builtin::Pi: made.levels = 0; return makeConstant(node, pi);
    case Builtin::Sqr:
    case Builtin::Sqrt:
    case Builtin::Sin:
    case Builtin::Cos:
    case Builtin::Length:
    case Builtin::Noise: return takes(1);
    case Builtin::Pow:
    case Builtin::Cross:
    case Builtin::Uniform: return takes(2);
    }
    made.levels = 0;
    made.task = NodeTask::Undefined;
}

void Graph::describeKeys(NodeIndex node, InterpolateExpressionAST* keys)
{
    GraphNode& made = nodes[node];
    std::vector<ExpressionAST*> values, times;
    const auto& known = keys->constantTimes();
    if (!known.keys.empty() && known.keys.front() == keys->firstKey && known.keys.back() == keys->lastKey) {
        for (const InterpolateKey* key : known.keys)
            values.push_back(key->value);
        made.leastBelow = known.nesting;
    } else {
        const InterpolateKey* last = nullptr;
        for (const InterpolateKey* key = keys->firstKey; key; last = key, key = key->next) {
            values.push_back(key->value);
            times.push_back(key->time);
        }
        if (!last) {
            made.message = "Interpolate expression has no keys.";
            return;
        }
        if (last != keys->lastKey) // a chain linked by hand
            values.push_back(keys->lastKey ? keys->lastKey->value : nullptr);
    }
    const bool isSingle = times.empty() && values.size() == 1;
    made.task = isSingle ? NodeTask::PassOn : NodeTask::Keys;
    made.keyCount = static_cast<std::uint32_t>(values.size());
    addChildren(node, values);
    addChildren(node, times);
}

// What an index may select, as far as the tree alone can say.
struct Graph::Selection {
    std::vector<ExpressionAST*> elements;
    bool isCertain = true; // one element, whatever happens
    bool asksHost = false; // what a host's node selects
};

Graph::Selection Graph::elementsOf(ArrayExpressionAST* array, NodeIndex node)
{
    Selection selected{{array->target}};
    for (std::uint32_t i = 0; i < nodes[node].keyCount; ++i) {
        const GraphNode& index = nodes[child(node, i)];
        std::optional<int> position;
        if (index.constant) {
            const double* number = std::get_if<double>(index.constant);
            position = truncated(number ? *number : 0.0);
        }
        selected.isCertain &= position.has_value();
        std::vector<ExpressionAST*> further;
        for (ExpressionAST* whole : selected.elements) {
            whole = behindReferences(whole);
            const NodeClass nodeClass = whole ? classOf(*whole) : NodeClass::Host;
            selected.asksHost |= nodeClass == NodeClass::Host;
            int count = 0;
            switch (nodeClass) {
            case NodeClass::List:
                for (const ListItem* item = static_cast<ListExpressionAST*>(whole)->firstItem; item; item = item->next)
                    if (!position || *position == count++)
                        further.push_back(item->expression);
                continue;
            case NodeClass::Vector:
            case NodeClass::Matrix: count = 3; break;
            case NodeClass::AColor: count = 4; break;
            case NodeClass::Transform: count = 2; break;
            case NodeClass::ListVector: count = position && static_cast<ListTypeExpressionAST<Vector>*>(whole)->loaded; break;
            case NodeClass::ListInt: count = position && static_cast<ListTypeExpressionAST<int>*>(whole)->loaded; break;
            case NodeClass::ListColor: count = position && static_cast<ListTypeExpressionAST<Color>*>(whole)->loaded; break;
            case NodeClass::ListFloat: count = position && static_cast<ListTypeExpressionAST<float>*>(whole)->loaded; break;
            default: break;
            }
            if (count == 0)
                continue;
            for (int k = position.value_or(0); k < (position ? *position + 1 : count); ++k)
                try {
                    further.push_back(whole->getElement(k));
                } catch (const InvalidOpException&) { // outside: said again when it is evaluated
                }
        }
        std::erase(further, nullptr);
        std::sort(further.begin(), further.end());
        further.erase(std::unique(further.begin(), further.end()), further.end());
        selected.elements = std::move(further);
    }
    selected.isCertain &= selected.elements.size() == 1;
    return selected;
}

bool Graph::addElements(NodeIndex node)
{
    if (nodes[node].task != NodeTask::Element || nodes[node].hasElements)
        return false;
    nodes[node].hasElements = true;
    auto* array = static_cast<ArrayExpressionAST*>(const_cast<ExpressionAST*>(nodes[node].expression));
    const Selection selected = elementsOf(array, node);
    nodes[node].leastBelow = 1; // as many as an element of a data list has
    for (const NodeIndex index : childrenOf(node))
        nodes[node].leastBelow = std::max(nodes[node].leastBelow, nodes[index].height);
    nodes[node].varies = selected.asksHost;
    if (selected.isCertain) {
        nodes[node].task = NodeTask::PassOn;
        nodes[node].childCount = 0;
    }
    addChildren(node, selected.elements);
    return true;
}

int Graph::heightOf(const GraphNode& node) const
{
    if (node.levels == 0)
        return 0;
    int below = node.leastBelow;
    for (std::uint32_t i = 0; i < node.childCount; ++i)
        below = std::max(below, nodes[children[node.firstChild + i]].height);
    return below == INT_MAX ? INT_MAX : below + node.levels;
}

void Graph::close(NodeIndex node)
{
    nodes[node].height = heightOf(nodes[node]);
    for (const NodeIndex below : childrenOf(node))
        nodes[node].varies |= nodes[below].varies || nodes[below].isOpen;
    if (nodes[node].task == NodeTask::Keys) {
        const std::uint32_t times = nodes[node].childCount - nodes[node].keyCount;
        nodes[node].varies |= times != 1; // none where they are known, and then there are several
    }
    type(node);
    nodes[node].isOpen = false;
}

void Graph::makeConstant(NodeIndex node, const Plain& value)
{
    GraphNode& made = nodes[node];
    made.task = NodeTask::Constant;
    made.isTyped = true;
    made.kind = kindOf(value);
    made.constant = &constants.emplace_back(value);
    made.varies = false;
    made.childCount = 0;
}

// Where a value of another kind stands, the zero of the kind that is asked for is read.
void Graph::replaceOtherKinds(NodeIndex node, std::uint32_t i, Typed kind)
{
    NodeIndex& operand = children[nodes[node].firstChild + i];
    if (nodes[operand].kind != kind)
        operand = zeros[static_cast<int>(kind)];
}

void Graph::type(NodeIndex index)
{
    GraphNode& node = nodes[index];
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
    case NodeTask::Call:
        switch (Builtin(static_cast<const BuiltinFunctionAST*>(node.expression)->functionId)) {
        case Builtin::Length:
        case Builtin::Noise:
            takes({Vector});
            gives(Number);
            break;
        case Builtin::Cross:
            takes({Vector, Vector});
            gives(Vector);
            break;
        case Builtin::Pow:
        case Builtin::Uniform:
            takes({Number, Number});
            gives(Number);
            break;
        default:
            takes({Number});
            gives(Number);
            break;
        }
        break;
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
        const bool areConstant = std::ranges::all_of(values, [&](NodeIndex i) { return nodes[i].constant != nullptr; });
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
    case NodeTask::Color:
        return makeConstant(index, Color{single(number(0)), single(number(1)), single(number(2))});
    case NodeTask::AColor:
        return makeConstant(
            index, AColor{single(number(0)), single(number(1)), single(number(2)), single(number(3))});
    case NodeTask::Matrix:
        return makeConstant(index, Matrix(narrowed(vector(0)), narrowed(vector(1)), narrowed(vector(2))));
    case NodeTask::Transform: return makeConstant(index, TraceTransform{operand(0, Matrix()), vector(1)});
    case NodeTask::Call: {
        const auto* call = static_cast<const BuiltinFunctionAST*>(node.expression);
        switch (Builtin(call->functionId)) {
        case Builtin::Sqr: return makeConstant(index, square(number(0)));
        case Builtin::Sqrt: return makeConstant(index, squareRoot(number(0)));
        case Builtin::Sin: return makeConstant(index, sine(number(0)));
        case Builtin::Cos: return makeConstant(index, cosine(number(0)));
        case Builtin::Length: return makeConstant(index, length(vector(0)));
        case Builtin::Noise: return makeConstant(index, widened(noise(narrowed(vector(0)))));
        case Builtin::Pow: return makeConstant(index, power(number(0), number(1)));
        case Builtin::Cross: return makeConstant(index, crossProduct(vector(0), vector(1)));
        case Builtin::Uniform: return makeConstant(index, uniform(number(0), number(1), widened(call->sample)));
        default: return;
        }
    }
    default: return;
    }
}

// A circle that is closed by references is found when a property is entered again, so a walk through it
// goes at most twice through each of its nodes, or through all of them for each property where they are
// shared. A circle without references has no end but the limit.
void Graph::findHeightsOfCircles()
{
    // Strongly connected components (Robert Tarjan, "Depth-First Search and Linear Graph Algorithms", 1972);
    // they come in an order in which each lies behind those that it reaches.
    constexpr NodeIndex unseen = ~NodeIndex(0);
    struct Frame {
        NodeIndex node;
        std::uint32_t nextChild;
    };
    std::vector<NodeIndex> order(nodes.size(), unseen), lowest(nodes.size()), component(nodes.size(), unseen);
    std::vector<NodeIndex> waiting;
    std::vector<Frame> frames;
    NodeIndex seen = 0, components = 0;

    const auto finish = [&](std::span<const NodeIndex> members) {
        for (const NodeIndex member : members)
            component[member] = components;
        ++components;
        const auto isInside = [&](NodeIndex node) { return component[node] == components - 1; };
        const bool isCircle = members.size() > 1 || std::ranges::any_of(childrenOf(members[0]), isInside);
        if (!isCircle) {
            if (!nodes[members[0]].isTyped) // what is typed reaches no circle
                nodes[members[0]].height = heightOf(nodes[members[0]]);
            return;
        }
        std::unordered_map<NodeIndex, int> open;
        std::unordered_map<NodeIndex, std::vector<NodeIndex>> parents;
        int below = 0;
        bool isShared = false;
        std::size_t properties = 0;
        for (const NodeIndex member : members) {
            open[member];
            properties += nodes[member].isReference ? 1 : 0;
            below = std::max(below, nodes[member].leastBelow);
            for (const NodeIndex inside : childrenOf(member)) {
                if (!isInside(inside)) {
                    below = std::max(below, nodes[inside].height);
                } else if (!nodes[member].isReference) {
                    ++open[member];
                    isShared |= !parents[inside].empty();
                    parents[inside].push_back(member);
                }
            }
        }
        std::vector<NodeIndex> ends;
        for (const NodeIndex member : members)
            if (open[member] == 0)
                ends.push_back(member);
        std::size_t taken = 0;
        for (; !ends.empty(); ++taken) {
            const NodeIndex end = ends.back();
            ends.pop_back();
            for (const NodeIndex parent : parents[end])
                if (--open[parent] == 0)
                    ends.push_back(parent);
        }
        const std::size_t size = members.size();
        const std::size_t most = isShared ? (properties + 2) * (size + 1) : 2 * size + 2;
        const bool hasEnd = taken == size && below != INT_MAX && most < INT_MAX / 4 && below < INT_MAX / 4;
        for (const NodeIndex member : members)
            nodes[member].height = hasEnd ? below + static_cast<int>(most) : INT_MAX;
    };

    for (const NodeIndex root : roots) {
        if (order[root] != unseen)
            continue;
        frames.push_back({root, 0});
        while (!frames.empty()) {
            const NodeIndex node = frames.back().node;
            if (frames.back().nextChild == 0) {
                order[node] = lowest[node] = seen++;
                waiting.push_back(node);
            }
            const auto below = childrenOf(node);
            if (frames.back().nextChild < below.size()) {
                const NodeIndex next = below[frames.back().nextChild++];
                if (order[next] == unseen)
                    frames.push_back({next, 0});
                else if (component[next] == unseen)
                    lowest[node] = std::min(lowest[node], order[next]);
                continue;
            }
            if (lowest[node] == order[node]) {
                const auto first = std::find(waiting.rbegin(), waiting.rend(), node).base() - 1;
                finish({first, waiting.end()});
                waiting.erase(first, waiting.end());
            }
            frames.pop_back();
            if (!frames.empty())
                lowest[frames.back().node] = std::min(lowest[frames.back().node], lowest[node]);
        }
    }
}

// Who is computed apart: what several nodes need, and what is needed only at some times.
void Graph::countUsers()
{
    std::vector<bool> isReached(nodes.size());
    std::vector<NodeIndex> pending;
    const auto reach = [&](NodeIndex node, bool isApart) {
        node = resolved(node);
        nodes[node].isApart |= isApart || nodes[node].users > 0;
        ++nodes[node].users;
        if (!isReached[node]) {
            isReached[node] = true;
            pending.push_back(node);
        }
    };
    for (const NodeIndex root : roots)
        reach(root, true);
    while (!pending.empty()) {
        const NodeIndex node = pending.back();
        pending.pop_back();
        const bool isSelective = nodes[node].task == NodeTask::Keys || nodes[node].task == NodeTask::Element;
        for (std::uint32_t i = 0; i < nodes[node].childCount; ++i) {
            const NodeIndex below = child(node, i);
            const bool isLast = (nodes[node].task == NodeTask::Element) == (i >= nodes[node].keyCount);
            const bool isMixed = !nodes[node].isTyped && nodes[resolved(below)].isTyped;
            const bool isOnceABatch = nodes[node].varies && !nodes[below].varies && !nodes[below].isTyped;
            reach(below, (isSelective && isLast) || isMixed || isOnceABatch);
        }
    }
}

} // namespace Marl
