// Instructions for generic nodes, in the order in which a walk would evaluate them.
#include <marl/compiled/detail/compiler.h>

#include <marl/ast/detail/operations.h>

#include <utility>

namespace Marl {

namespace {

// Whether a node always leaves a value on the stack, or fails.
bool hasValue(const GraphNode& node)
{
    switch (node.task) {
    case NodeTask::Nothing:
    case NodeTask::Visit:
    case NodeTask::PassOn:
    case NodeTask::Keys:
    case NodeTask::Element: return false;
    default: return true;
    }
}

GenericTask literalOf(NodeTask task)
{
    switch (task) {
    case NodeTask::Vector: return GenericTask::MakeVector;
    case NodeTask::Color: return GenericTask::MakeColor;
    case NodeTask::AColor: return GenericTask::MakeAColor;
    case NodeTask::Matrix: return GenericTask::MakeMatrix;
    case NodeTask::Transform: return GenericTask::MakeTransform;
    default: return GenericTask::MakeList;
    }
}

const char* complaintOf(NodeTask task)
{
    switch (task) {
    case NodeTask::Vector: return Complaint::vector;
    case NodeTask::Color: return Complaint::color;
    case NodeTask::AColor: return Complaint::acolor;
    default: return nullptr;
    }
}

} // namespace

GenericInstruction& Compiler::emit(GenericTask task, NodeIndex node)
{
    GenericInstruction& made = program.genericInstructions.emplace_back();
    made.task = task;
    made.node = const_cast<ExpressionAST*>(graph.nodes[node].expression);
    return made;
}

// One node after the other: each is met before, between and behind its children.
void Compiler::compileGeneric(std::uint32_t stretch, NodeIndex root)
{
    struct Open {
        NodeIndex node;
        std::uint32_t nextChild = 0;
    };
    program.genericStretches[stretch].firstInstruction =
        static_cast<std::uint32_t>(program.genericInstructions.size());
    std::vector<Open> open{{root}};
    while (!open.empty()) {
        const NodeIndex node = open.back().node;
        const std::uint32_t next = open.back().nextChild++;
        if (next > 0)
            emitBetween(node, next - 1);
        if (next == operandsOf(node)) {
            emitLast(node);
            open.pop_back();
            continue;
        }
        if (next == 0 && graph.nodes[node].task == NodeTask::Element)
            emit(GenericTask::PushNode, node).node =
                static_cast<const ArrayExpressionAST*>(graph.nodes[node].expression)->target;
        const NodeIndex operand = graph.resolved(operandOf(node, next));
        const GraphNode& described = graph.nodes[operand];
        if (described.task == NodeTask::Time)
            emit(GenericTask::PushTime, operand);
        else if (described.isTyped || described.isApart)
            emit(GenericTask::Push, node).source = sourceOf(operand);
        else
            open.push_back({operand});
    }
    emit(GenericTask::Return, root);
}

// How many children are evaluated whatever happens; of keys these are the times, of an index the indices.
std::uint32_t Compiler::operandsOf(NodeIndex index) const
{
    const GraphNode& node = graph.nodes[index];
    switch (node.task) {
    case NodeTask::Keys: return static_cast<std::uint32_t>(timesOf(index));
    case NodeTask::Element: return node.keyCount;
    default: return node.childCount;
    }
}

// The times of keys stand behind all values.
std::uint32_t Compiler::timesOf(NodeIndex index) const
{
    return graph.nodes[index].childCount - graph.nodes[index].keyCount;
}

NodeIndex Compiler::operandOf(NodeIndex index, std::uint32_t i) const
{
    const GraphNode& node = graph.nodes[index];
    return graph.child(index, node.task == NodeTask::Keys ? node.keyCount + i : i);
}

// An operand may be judged before the next one is evaluated.
void Compiler::emitBetween(NodeIndex index, std::uint32_t i)
{
    const GraphNode& node = graph.nodes[index];
    const NodeIndex operand = graph.resolved(operandOf(index, i));
    if (node.task != NodeTask::PassOn && !graph.nodes[operand].isTyped && !hasValue(graph.nodes[operand]))
        emit(GenericTask::RequireValue, index);
    const auto requireNumber = [&](const char* complaint) {
        if (complaint && !graph.nodes[operand].isTyped)
            emit(GenericTask::RequireNumber, index).complaint = complaint;
    };
    switch (node.task) {
    case NodeTask::Keys: return requireNumber(Complaint::keyTime);
    case NodeTask::Element:
        requireNumber(Complaint::index);
        emit(GenericTask::SelectElement, index);
        return;
    default: return requireNumber(complaintOf(node.task));
    }
}

void Compiler::emitLast(NodeIndex index)
{
    const GraphNode& node = graph.nodes[index];
    switch (node.task) {
    case NodeTask::Constant:
    case NodeTask::Time: // typed, and so no part of a generic stretch
    case NodeTask::PassOn: return;
    case NodeTask::Operate: emit(GenericTask::Operate, index); return;
    case NodeTask::Negate: emit(GenericTask::Negate, index); return;
    case NodeTask::Call: emit(GenericTask::Call, index); return;
    case NodeTask::Function: emit(GenericTask::CallFunction, index).count = node.childCount; return;
    case NodeTask::Vector:
    case NodeTask::Color:
    case NodeTask::AColor:
    case NodeTask::Matrix:
    case NodeTask::Transform:
    case NodeTask::List: emit(literalOf(node.task), index).count = node.childCount; return;
    case NodeTask::Keys: return emitKeys(index);
    case NodeTask::Element:
        for (std::uint32_t i = node.keyCount; i < graph.nodes[index].childCount; ++i) {
            const NodeIndex element = graph.child(index, i);
            program.elements.try_emplace(graph.nodes[element].expression, sourceOf(element));
        }
        emit(GenericTask::EvaluateSelected, index);
        return;
    case NodeTask::Visit: emit(GenericTask::Visit, index); return;
    case NodeTask::Undefined: emit(GenericTask::PushUndefined, index); return;
    case NodeTask::Nothing: emit(GenericTask::PushNothing, index); return;
    case NodeTask::Fail: emit(GenericTask::Fail, index).failure = node.failure; return;
    }
}

void Compiler::emitKeys(NodeIndex index)
{
    const GraphNode& node = graph.nodes[index];
    GenericKeys& keys = program.genericKeys.emplace_back();
    for (std::uint32_t i = 0; i < node.keyCount; ++i)
        keys.sources.push_back(sourceOf(graph.child(index, i)));
    const std::uint32_t varying = timesOf(index);
    if (varying == 0)
        keys.times = &static_cast<const InterpolateExpressionAST*>(node.expression)->constantTimes().times;
    const auto emitFor = [&](GenericTask task) -> GenericInstruction& {
        GenericInstruction& made = emit(task, index);
        made.keys = &keys;
        return made;
    };
    emitFor(varying > 0 ? GenericTask::BracketVarying : GenericTask::BracketKnown).count = varying;
    emitFor(GenericTask::PushEarlier);
    emitFor(GenericTask::SkipUnlessBlend).count = 4;
    emitFor(GenericTask::RequireValue);
    emitFor(GenericTask::PushLater);
    emitFor(GenericTask::RequireValue);
    emitFor(GenericTask::Blend);
}

} // namespace Marl
