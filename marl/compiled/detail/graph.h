// Trees as the compiler sees them: every node once, whoever refers to it, with what follows from the tree.
#pragma once

#include <marl/ast/nodes.h>
#include <marl/compiled/detail/registers.h>

#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

namespace Marl {

enum class NodeTask : unsigned char {
    Constant, // a plain record
    Time,
    Operate,
    Negate,
    Call,     // a built-in function of one or two arguments
    Function, // of the host's
    Vector,
    Color,
    AColor,
    Matrix,
    Transform,
    List,
    Keys,      // children: the values, then the times unless they are constant
    PassOn,    // a reference, or an index that is constant: the child's value, be it none
    Element,   // children: the indices, then the elements that they may select
    Visit,     // a leaf that reads a source or asks the host
    Undefined, // an undefined value
    Nothing,   // no value
    Fail,
};

using NodeIndex = std::uint32_t;

using Failure = void(); // throws

struct GraphNode {
    const ExpressionAST* expression = nullptr; // of a missing one: that which lacks it
    NodeTask task = NodeTask::Fail;
    // A typed node's kind follows from the tree, and it cannot fail.
    bool isTyped = false;
    Typed kind = Typed::Number;
    bool varies = false;      // with time, or with the host
    bool isApart = false;     // computed apart from its users: a property, shared, or needed only at some times
    bool isOpen = true;       // while what lies below it is still read
    bool isReference = false; // marks a property as active while the child is evaluated
    bool hasElements = false; // of Element: the elements are among the children
    std::uint8_t need = 0;    // registers that its computation takes at once, roughly
    std::uint32_t users = 0;
    std::uint32_t firstChild = 0;
    std::uint32_t childCount = 0;
    std::uint32_t keyCount = 0; // of Keys: how many of the children are values; of Element: indices
    int levels = 0;             // of its own: 1 for a node that lets others accept the visitor
    int leastBelow = 0;         // levels below it that are no children here
    int height = 0;             // levels from it downwards
    const Plain* constant = nullptr;
    Failure* failure = nullptr;
};

// Reads trees without recursion, and calls nothing of a host's nodes.
class Graph {
public:
    explicit Graph(std::span<ExpressionAST* const> roots);

    std::span<const NodeIndex> childrenOf(NodeIndex node) const
    {
        return {children.data() + nodes[node].firstChild, nodes[node].childCount};
    }
    NodeIndex child(NodeIndex node, std::uint32_t i) const { return children[nodes[node].firstChild + i]; }

    // Behind typed nodes that pass on.
    NodeIndex resolved(NodeIndex node) const
    {
        while (nodes[node].isTyped && nodes[node].task == NodeTask::PassOn)
            node = child(node, 0);
        return node;
    }

    std::vector<GraphNode> nodes;
    std::vector<NodeIndex> children;
    std::vector<NodeIndex> roots;
    std::unordered_map<const ExpressionAST*, NodeIndex> byAddress;

private:
    struct Selection;

    void addZeros();
    NodeIndex read(ExpressionAST* root);
    NodeIndex nodeOf(ExpressionAST* expression, const ExpressionAST* parent, bool& isNew);
    void describe(NodeIndex node, ExpressionAST* expression);
    void describeKeys(NodeIndex node, InterpolateExpressionAST* keys);
    void describeCall(NodeIndex node, BuiltinFunctionAST* call);
    void describeFunction(NodeIndex node, FunctionExpressionAST* function);
    void typeFunction(NodeIndex node);
    void computeFunction(NodeIndex node);
    void addChildren(NodeIndex node, std::span<ExpressionAST* const> expressions);
    bool addElements(NodeIndex node);
    Selection elementsOf(ArrayExpressionAST* node, NodeIndex index);
    void close(NodeIndex node);
    void type(NodeIndex node);
    void computeConstant(NodeIndex node);
    void makeConstant(NodeIndex node, const Plain& value);
    void replaceOtherKinds(NodeIndex node, std::uint32_t i, Typed kind);
    void findHeightsOfCircles();
    int heightOfCircle(std::span<const NodeIndex> members, std::span<const NodeIndex> component) const;
    void countUsers();
    int heightOf(const GraphNode& node) const;

    std::vector<ExpressionAST*> childExpressions; // parallel to children
    std::deque<Plain> constants;
    NodeIndex zeros[typedKinds];
    bool hasCircle = false;
};

} // namespace Marl
