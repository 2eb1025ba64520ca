#include <fuzz/reference_elements.h>

#include <fuzz/reference_arithmetic.h>

#include <set>
#include <vector>

namespace Marl::Fuzz {

namespace {

constexpr const char* incomplete = "Expression is incomplete.";

[[noreturn]] void fail(const char* message)
{
    throw InvalidOpException(message);
}

[[noreturn]] void failOutOfRange()
{
    fail("Array index is out of range.");
}

ExpressionAST* elementAt(const std::vector<ExpressionAST*>& elements, int index)
{
    if (index < 0 || static_cast<std::size_t>(index) >= elements.size() || !elements[static_cast<std::size_t>(index)])
        failOutOfRange();
    return elements[static_cast<std::size_t>(index)];
}

template <typename T>
std::vector<T> itemsOf(ListTypeExpressionAST<T>* list)
{
    return elementsOf(list->loaded ? PtrArray<T>(list->values) : list->readFromSource());
}

NumberExpressionAST* number(ProgramAST& scratch, double given)
{
    auto* node = scratch.make<NumberExpressionAST>();
    node->number = given;
    return node;
}

ExpressionAST* literal(ProgramAST& scratch, ValueType type, float first, float second, float third)
{
    auto* vector = scratch.make<VectorExpressionAST>();
    vector->valueType = static_cast<int>(type);
    vector->components[0] = number(scratch, double(first));
    vector->components[1] = number(scratch, double(second));
    vector->components[2] = number(scratch, double(third));
    return vector;
}

template <typename T>
ExpressionAST* literal(ProgramAST& scratch, const T& item, const CharString& scenePath)
{
    if constexpr (std::is_same_v<T, Vector>) {
        return literal(scratch, ValueType::Vector, item.x, item.y, item.z);
    } else if constexpr (std::is_same_v<T, Color>) {
        return literal(scratch, ValueType::Color, item.r, item.g, item.b);
    } else if constexpr (std::is_same_v<T, CharString>) {
        auto* string = scratch.make<StringExpressionAST>();
        string->text = item;
        string->scenePath = scenePath;
        string->loaded = 1;
        return string;
    } else {
        return number(scratch, static_cast<double>(item));
    }
}

template <typename... T>
ExpressionAST* elementOfData(ExpressionAST* node, int index, ProgramAST& scratch)
{
    ExpressionAST* element = nullptr;
    const auto look = [&](auto* list) {
        if (!list)
            return;
        const auto items = itemsOf(list);
        if (index < 0 || static_cast<std::size_t>(index) >= items.size())
            failOutOfRange();
        element = literal(scratch, items[static_cast<std::size_t>(index)], list->scenePath);
    };
    (look(dynamic_cast<ListTypeExpressionAST<T>*>(node)), ...);
    return element;
}

} // namespace

ExpressionAST* referenced(const PropertyReferenceAST* reference)
{
    if (!reference->property)
        fail("Property reference is not bound.");
    if (!reference->property->expression)
        fail(incomplete);
    return reference->property->expression;
}

ExpressionAST* elementOf(ExpressionAST* node, int index, ProgramAST& scratch)
{
    if (!node)
        fail(incomplete);
    std::set<ExpressionAST*> seen;
    while (const auto* reference = dynamic_cast<PropertyReferenceAST*>(node)) {
        if (!seen.insert(node).second)
            fail("Property references form a cycle.");
        node = referenced(reference);
    }
    if (const auto* list = dynamic_cast<ListExpressionAST*>(node)) {
        std::vector<ExpressionAST*> items;
        for (const ListItem* item = list->firstItem; item; item = item->next)
            items.push_back(item->expression);
        return elementAt(items, index);
    }
    if (const auto* vector = dynamic_cast<VectorExpressionAST*>(node))
        return elementAt({vector->components, vector->components + 3}, index);
    if (const auto* color = dynamic_cast<AColorExpressionAST*>(node))
        return elementAt({color->components, color->components + 4}, index);
    if (const auto* matrix = dynamic_cast<MatrixExpressionAST*>(node))
        return elementAt({matrix->columns, matrix->columns + 3}, index);
    if (const auto* transform = dynamic_cast<TransformExpressionAST*>(node))
        return elementAt({transform->matrix, transform->offset}, index);
    if (ExpressionAST* element = elementOfData<Vector, int, Color, float, CharString>(node, index, scratch))
        return element;
    return node->getElement(index); // of a host's own node; of all others a failure
}

} // namespace Marl::Fuzz
