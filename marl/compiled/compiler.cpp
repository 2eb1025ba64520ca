// The order of compilation, and the stretches that typed values come from.
#include <marl/compiled/detail/compiler.h>

#include <algorithm>
#include <utility>

namespace Marl {

namespace {

constexpr std::int32_t none = -1;
constexpr std::uint32_t noOne = ~std::uint32_t(0);

std::vector<ExpressionAST*> expressionsOf(std::span<const CompiledRoot> roots)
{
    std::vector<ExpressionAST*> expressions;
    expressions.reserve(roots.size());
    for (const CompiledRoot& root : roots)
        expressions.push_back(root.expression);
    return expressions;
}

} // namespace

Compiler::Compiler(std::span<CompiledRoot> roots, CompiledProgram& compiled)
    : graph(expressionsOf(roots)), program(compiled), kernels(Marl::kernels()), stretchOf(graph.nodes.size(), none)
{
    program.kernels = &kernels;
    program.size = graph.nodes.size();
    for (std::size_t i = 0; i < roots.size(); ++i) {
        const NodeIndex node = graph.resolved(graph.roots[i]);
        const GraphNode& described = graph.nodes[node];
        CompiledRoot& root = roots[i];
        root.source = sourceOf(node);
        root.kind = described.kind;
        root.varies = described.varies;
        root.height = graph.nodes[graph.roots[i]].height;
        const bool isOnlyUser = root.source.where == Source::Where::Typed && described.users == 1;
        root.isAlone = false;
        root.fillsColumn = isOnlyUser && described.kind == Typed::Number;
        if (root.fillsColumn)
            columnOf[root.source.index] = static_cast<std::int32_t>(root.column);
        else if (isOnlyUser)
            program.stretches[root.source.index].result = placeOfRoots(program.stretches[root.source.index].form);
    }
    // Compiling a stretch may ask for others.
    std::uint32_t typed = 0, generic = 0;
    while (typed < typedNodes.size() || generic < genericNodes.size())
        if (typed < typedNodes.size())
            compileTyped(typed++);
        else {
            compileGeneric(generic, genericNodes[generic]);
            ++generic;
        }
    for (CompiledRoot& root : roots)
        if (root.fillsColumn) {
            const Stretch& stretch = program.stretches[root.source.index];
            root.isAlone = !stretch.needsOthers;
            root.instruction = &program.instructions[stretch.firstInstruction];
        }
}

Source Compiler::sourceOf(NodeIndex node)
{
    node = graph.resolved(node);
    const GraphNode& described = graph.nodes[node];
    if (described.constant) {
        program.constants.push_back(*described.constant);
        return {Source::Where::Constant, static_cast<std::uint32_t>(program.constants.size() - 1)};
    }
    if (described.isTyped)
        return {Source::Where::Typed, typedStretch(node)};
    return {Source::Where::Generic, genericStretch(node)};
}

std::uint32_t Compiler::typedStretch(NodeIndex node)
{
    if (stretchOf[node] == none) {
        stretchOf[node] = static_cast<std::int32_t>(typedNodes.size());
        typedNodes.push_back(node);
        columnOf.push_back(none);
        neededBy.push_back(noOne);
        program.stretches.emplace_back().form = naturalForm(node);
    }
    return static_cast<std::uint32_t>(stretchOf[node]);
}

std::uint32_t Compiler::genericStretch(NodeIndex node)
{
    if (stretchOf[node] == none) {
        stretchOf[node] = static_cast<std::int32_t>(genericNodes.size());
        genericNodes.push_back(node);
        GenericStretch& made = program.genericStretches.emplace_back();
        made.varies = graph.nodes[node].varies;
        made.isKept = graph.nodes[node].users > 1;
    }
    return static_cast<std::uint32_t>(stretchOf[node]);
}

} // namespace Marl
