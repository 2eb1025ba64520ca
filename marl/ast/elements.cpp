// The elements of nodes: what an index selects in the tree.
#include <marl/ast/program.h>

#include <marl/ast/detail/located.h>
#include <marl/value/array_hold.h>
#include <marl/value/detail/failures.h>
#include <marl/value/detail/precision.h>
#include <marl/value/value.h>

#include <memory>
#include <utility>

namespace Marl {

namespace {

template <int count>
ExpressionAST* childAt(ExpressionAST* (&children)[count], int index)
{
    if (index < 0 || index >= count)
        failOutsideArray(index, count);
    return children[index];
}

// A number, vector, color or string of a typed list as a node, together with the nodes below it.
struct NumberElement {
    NumberElement(int number, const CharString&) { node.number = number; }
    NumberElement(float number, const CharString&) { node.number = widened(number); }

    NumberExpressionAST node;
};

struct ComponentsElement {
    ComponentsElement(const Vector& v, const CharString&) : ComponentsElement(ValueType::Vector, v.x, v.y, v.z) {}
    ComponentsElement(const Color& c, const CharString&) : ComponentsElement(ValueType::Color, c.r, c.g, c.b) {}

    ComponentsElement(ValueType type, float first, float second, float third)
    {
        node.valueType = static_cast<int>(type);
        const float values[3] = {first, second, third};
        for (int i = 0; i < 3; ++i) {
            numbers[i].number = widened(values[i]);
            node.components[i] = &numbers[i];
        }
    }

    NumberExpressionAST numbers[3];
    VectorExpressionAST node;
};

struct TextElement {
    TextElement(const CharString& text, const CharString& scenePath)
    {
        node.text = text;
        node.scenePath = scenePath;
        node.loaded = 1;
    }

    StringExpressionAST node;
};

// clang-format off
template <typename T> struct ElementOf          { using Type = NumberElement; };
template <> struct ElementOf<Vector>            { using Type = ComponentsElement; };
template <> struct ElementOf<Color>             { using Type = ComponentsElement; };
template <> struct ElementOf<CharString>        { using Type = TextElement; };
// clang-format on

} // namespace

ExpressionAST* ExpressionAST::getElement(int)
{
    fail("Expression cannot be indexed.");
}

ExpressionAST* ListExpressionAST::getElement(int index)
{
    int position = 0;
    for (const ListItem* item = firstItem; item; item = item->next, ++position)
        if (position == index)
            return item->expression;
    failOutsideArray(index, position);
}

// A chain of references is followed at two speeds: in a circle the faster meets the slower.
ExpressionAST* PropertyReferenceAST::getElement(int index)
{
    PropertyReferenceAST* reference = this;
    const PropertyReferenceAST* slower = this;
    for (bool slowerMoves = false;; slowerMoves = !slowerMoves) {
        if (!reference->property)
            at(reference, failUnbound);
        ExpressionAST* expression = reference->property->expression;
        if (!expression)
            at(reference, failIncomplete);
        auto* further = dynamic_cast<PropertyReferenceAST*>(expression);
        if (!further)
            return expression->getElement(index);
        reference = further;
        if (slowerMoves)
            slower = static_cast<PropertyReferenceAST*>(slower->property->expression);
        if (reference == slower)
            at(reference, failCycle);
    }
}

// clang-format off
ExpressionAST* VectorExpressionAST::getElement(int index) { return childAt(components, index); }
ExpressionAST* MatrixExpressionAST::getElement(int index) { return childAt(columns, index); }
ExpressionAST* AColorExpressionAST::getElement(int index) { return childAt(components, index); }
// clang-format on

ExpressionAST* TransformExpressionAST::getElement(int index)
{
    ExpressionAST* parts[] = {matrix, offset};
    return childAt(parts, index);
}

// A list's data and the nodes made of it so far.
template <typename T>
struct ListTypeExpressionAST<T>::Elements {
    using Element = typename ElementOf<T>::Type;

    explicit Elements(PtrArray<T>&& given) : hold(std::move(given)), made(static_cast<std::size_t>(hold->count)) {}

    ~Elements()
    {
        for (const auto& slot : made)
            delete slot.load(std::memory_order_relaxed);
    }

    ArrayHold<T> hold;
    std::vector<std::atomic<Element*>> made;
};

template <typename T>
ListTypeExpressionAST<T>::~ListTypeExpressionAST()
{
    delete elements.load(std::memory_order_relaxed);
    values.freeMem();
}

template <typename T>
typename ListTypeExpressionAST<T>::Elements& ListTypeExpressionAST<T>::elementTable()
{
    if (Elements* table = elements.load(std::memory_order_acquire))
        return *table;
    const std::lock_guard lock(elementsMutex);
    Elements* table = elements.load(std::memory_order_relaxed);
    if (!table) {
        table = new Elements(loaded ? PtrArray<T>(values) : readFromSource());
        elements.store(table, std::memory_order_release);
    }
    return *table;
}

template <typename T>
ExpressionAST* ListTypeExpressionAST<T>::getElement(int index)
{
    Elements& table = elementTable();
    if (index < 0 || index >= table.hold->count)
        failOutsideArray(index, table.hold->count);
    auto& slot = table.made[static_cast<std::size_t>(index)];
    auto* element = slot.load(std::memory_order_acquire);
    if (!element) {
        auto fresh = std::make_unique<typename Elements::Element>(table.hold[index], scenePath);
        if (slot.compare_exchange_strong(element, fresh.get(), std::memory_order_acq_rel))
            element = fresh.release();
    }
    return &element->node;
}

template class ListTypeExpressionAST<Vector>;
template class ListTypeExpressionAST<int>;
template class ListTypeExpressionAST<Color>;
template class ListTypeExpressionAST<float>;
template class ListTypeExpressionAST<CharString>;

} // namespace Marl
