// Lists and the selection of their elements.
#include <marl/visitor/detail/walking.h>

#include <marl/value/array_hold.h>
#include <marl/value/detail/truncation.h>

#include <algorithm>
#include <optional>

namespace Marl {

// An empty list is no level.
void CalculationVisitor::visitListExpression(ListExpressionAST* node)
{
    std::optional<Level> level;
    if (node->firstItem)
        level.emplace(*this, node);
    takeMemory(node, sizeof(Value) * static_cast<std::uint64_t>(std::max(node->itemCount, 0)));
    ArrayHold<Value> list(node->itemCount);
    int i = 0;
    for (const ListItem* item = node->firstItem; item; item = item->next, ++i) {
        takeStep(node);
        evaluate(node, item->expression);
        if (i < list->count)
            list[i] = std::move(valueStack.top());
        valueStack.pop();
    }
    valueStack.push(*list);
}

template <typename T>
void CalculationVisitor::pushTypedList(ListTypeExpressionAST<T>* node)
{
    ArrayHold<T> list(node->loaded ? PtrArray<T>(node->values) : at(node, [&] { return node->readFromSource(); }));
    takeMemory(node, sizeof(T) * static_cast<std::uint64_t>(list->count));
    valueStack.push(*list);
}

// clang-format off
void CalculationVisitor::visitListVectorExpressionAST(ListTypeExpressionAST<Vector>* node)     { pushTypedList(node); }
void CalculationVisitor::visitListIntExpressionAST(ListTypeExpressionAST<int>* node)           { pushTypedList(node); }
void CalculationVisitor::visitListColorExpressionAST(ListTypeExpressionAST<Color>* node)       { pushTypedList(node); }
void CalculationVisitor::visitListFloatExpressionAST(ListTypeExpressionAST<float>* node)       { pushTypedList(node); }
// clang-format on

void CalculationVisitor::visitListStringExpressionAST(ListTypeExpressionAST<CharString>* node)
{
    const CharString path = node->scenePath.clone();
    pushTypedList(node);
    valueStack.top().setScenePath(path);
}

// Works on the tree: only the selected element is evaluated, the target as a whole is not.
void CalculationVisitor::visitArrayExpressionAST(ArrayExpressionAST* node)
{
    const Level level(*this, node);
    ExpressionAST* selected = node->target;
    for (ExpressionAST* index : node->indices) {
        evaluate(node, index);
        selected = at(node, [&] { return elementAt(selected, truncated(takeNumber(Complaint::index))); });
    }
    passOn(node, selected);
}

} // namespace Marl
