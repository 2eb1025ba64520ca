#include <marl/compiled/detail/graph.h>

#include <marl/ast/detail/builtins.h>
#include <marl/ast/detail/operations.h>
#include <marl/ast/function_expression.h>
#include <marl/ast/program.h>
#include <marl/compiled/detail/node_class.h>
#include <marl/value/detail/failures.h>
#include <marl/value/detail/truncation.h>
#include <marl/value/exceptions.h>

#include <algorithm>
#include <climits>
#include <span>
#include <utility>

namespace Marl {

namespace {

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

template <typename T>
bool isInMemory(const ExpressionAST& list)
{
    return static_cast<const ListTypeExpressionAST<T>&>(list).loaded != 0;
}

bool isListInMemory(const ExpressionAST& node)
{
    switch (classOf(node)) {
    case NodeClass::ListVector: return isInMemory<Vector>(node);
    case NodeClass::ListInt: return isInMemory<int>(node);
    case NodeClass::ListColor: return isInMemory<Color>(node);
    case NodeClass::ListFloat: return isInMemory<float>(node);
    default: return false;
    }
}

bool isLiteral(NodeClass nodeClass)
{
    return nodeClass == NodeClass::Vector || nodeClass == NodeClass::Matrix || nodeClass == NodeClass::AColor
        || nodeClass == NodeClass::Transform;
}

// The element of a node, where it has one there; that it has none is said again when it is evaluated.
void addElement(ExpressionAST& whole, int position, std::vector<ExpressionAST*>& elements)
{
    try {
        elements.push_back(whole.getElement(position));
    } catch (const InvalidOpException&) {
    }
}

// Of a literal all elements that an index may select; of a data list only the one at a constant index, for the
// others are made when they are asked for.
void addSelectable(ExpressionAST& whole, std::optional<int> position, std::vector<ExpressionAST*>& elements)
{
    constexpr int mostParts = 4; // of a literal that is no list
    const NodeClass wholeClass = classOf(whole);
    if (wholeClass == NodeClass::List) {
        int i = 0;
        for (const ListItem* item = static_cast<ListExpressionAST&>(whole).firstItem; item; item = item->next, ++i)
            if (!position || *position == i)
                elements.push_back(item->expression);
    } else if (position && (isLiteral(wholeClass) || isListInMemory(whole))) {
        addElement(whole, *position, elements);
    } else if (isLiteral(wholeClass)) {
        for (int i = 0; i < mostParts; ++i)
            addElement(whole, i, elements);
    }
}

} // namespace

Graph::Graph(std::span<ExpressionAST* const> expressions)
{
    addZeros();
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
    const NodeIndex rootNode = nodeOf(root, nullptr, isNew);
    std::vector<Open> open;
    if (isNew)
        open.push_back({rootNode, 0});
    while (!open.empty()) {
        const NodeIndex node = open.back().node;
        if (open.back().nextChild < nodes[node].childCount) {
            const std::uint32_t place = nodes[node].firstChild + open.back().nextChild++;
            const NodeIndex child = nodeOf(childExpressions[place], nodes[node].expression, isNew);
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

// Numbers are too many and too small to be worth being found again. What is missing belongs to the node that
// lacks it.
NodeIndex Graph::nodeOf(ExpressionAST* expression, const ExpressionAST* parent, bool& isNew)
{
    const auto node = static_cast<NodeIndex>(nodes.size());
    isNew = true;
    if (expression && classOf(*expression) != NodeClass::Number) {
        const auto [place, isInserted] = byAddress.try_emplace(expression, node);
        isNew = isInserted;
        if (!isNew)
            return place->second;
    }
    nodes.emplace_back();
    describe(node, expression);
    if (!expression)
        nodes[node].expression = parent;
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
    const auto fail = [&](Failure* failure) {
        made.task = NodeTask::Fail;
        made.failure = failure;
    };
    if (!expression) {
        made.levels = 0;
        return fail(failIncomplete);
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
    case NodeClass::Negated:
        return be(NodeTask::Negate, {&static_cast<NegatedExpressionAST*>(expression)->operand, 1});
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
            return fail(failUnbound);
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
    case NodeClass::Function: return describeFunction(node, static_cast<FunctionExpressionAST*>(expression));
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
    const auto arguments = argumentsOf(*call);
    if (!arguments.empty() && std::ranges::find(arguments, nullptr) == arguments.end()) {
        made.task = NodeTask::Call;
        return addChildren(node, arguments);
    }
    made.levels = 0;
    if (!arguments.empty()) {
        made.failure = failIncompleteCall;
        return;
    }
    switch (Builtin(call->functionId)) {
    case Builtin::Time:
        made.task = NodeTask::Time;
        made.isTyped = made.varies = true;
        return;
    case Builtin::Sample: return makeConstant(node, widened(call->sample));
    case Builtin::Pi: return makeConstant(node, pi);
    default: made.task = NodeTask::Undefined;
    }
}

void Graph::describeFunction(NodeIndex node, FunctionExpressionAST* function)
{
    GraphNode& made = nodes[node];
    made.task = NodeTask::Function;
    made.levels = function->arguments.empty() ? 0 : 1;
    made.varies = !function->isPure();
    addChildren(node, function->arguments);
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
            made.failure = failWithoutKeys;
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

// The elements that an index may select, as far as the tree alone can say.
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
        for (ExpressionAST* selectedBefore : selected.elements) {
            ExpressionAST* whole = behindReferences(selectedBefore);
            if (!whole || classOf(*whole) == NodeClass::Host || classOf(*whole) == NodeClass::Function)
                selected.asksHost = true;
            else
                addSelectable(*whole, position, further);
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
